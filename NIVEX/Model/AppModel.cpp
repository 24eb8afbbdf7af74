#include "NIVEX/Model/AppModel.hpp"

#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"

namespace nivex {

const EngineList& AppModel::engines()
{
    if (!engines_)
        engines_ = EngineCatalog::standard(registry());
    return *engines_;
}

const ConversionPlanner& AppModel::planner()
{
    if (!planner_)
        planner_ = std::make_unique<ConversionPlanner>(engines(), registry());
    return *planner_;
}

ConversionQueue& AppModel::queue()
{
    if (!queue_)
        queue_ = std::make_unique<ConversionQueue>(ConversionRunner{engines(), registry(), ResourceLimits::standard()},
                                                   mainLoop_);
    return *queue_;
}

} // namespace nivex
