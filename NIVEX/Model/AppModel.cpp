#include "NIVEX/Model/AppModel.hpp"

#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"

namespace nivex {

AppModel::AppModel(MainLoop& mainLoop, Environment environment)
    : mainLoop_{mainLoop}, environment_{std::move(environment)},
      preferencesFile_{PreferencesFile::defaultLocation(environment_)}, preferences_{preferencesFile_.load()}
{
}

const std::shared_ptr<WorkerPool>& AppModel::workers()
{
    if (!workers_) {
        WorkerPool::Settings settings = WorkerPool::Settings::ofThisMachine();
        settings.acceptsMissingLayers = preferences_.incompleteSandbox == IncompleteSandbox::proceed;
        workers_ = std::make_shared<WorkerPool>(std::move(settings));
    }
    return workers_;
}

const FileDetector& AppModel::detector()
{
    if (!detector_) {
        deepProbes_ = EngineCatalog::deepProbes(registry(), ResourceLimits::standard(), workers());
        detector_.emplace(registry(), ResourceLimits::standard(), deepProbes_);
    }
    return *detector_;
}

const EngineList& AppModel::engines()
{
    if (!engines_)
        engines_ = EngineCatalog::standard(registry(), workers());
    return *engines_;
}

const ConversionPlanner& AppModel::planner()
{
    if (!planner_)
        planner_ = std::make_unique<ConversionPlanner>(engines(), registry());
    return *planner_;
}

HistoryStore& AppModel::history()
{
    if (!history_)
        history_ = std::make_unique<HistoryStore>(HistoryStore::defaultFileURL(environment_), preferences_.retention,
                                                  HistoryStore::systemClock, &mainLoop_);
    return *history_;
}

ConversionQueue& AppModel::queue()
{
    if (!queue_) {
        queue_ = std::make_unique<ConversionQueue>(ConversionRunner{engines(), registry(), ResourceLimits::standard()},
                                                   mainLoop_);
        queue_->onJobFinished = [this](const ConversionJob& job) {
            if (keepsHistory_)
                history().record(job);
            if (onJobFinished)
                onJobFinished(job);
        };
    }
    return *queue_;
}

} // namespace nivex
