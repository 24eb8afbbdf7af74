#pragma once

#include "NIVEX/Model/Preferences.hpp"
#include "NIVEX/Model/RecipeLibrary.hpp"

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Execution/ConversionQueue.hpp"
#include "NivexKit/Execution/History/HistoryStore.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Files/UserFolders.hpp"
#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <optional>

namespace nivex {

/// The one instance of each long-lived object, made when first asked for: recognising a file builds no planner, and
/// planning builds no queue. Main thread only. `mainLoop` outlives it.
class AppModel {
public:
    AppModel(MainLoop& mainLoop, Environment environment);

    const FormatRegistry& registry() const { return FormatRegistry::standard(); }
    /// The one pool of worker programs; everything that needs one has it from here.
    const std::shared_ptr<WorkerPool>& workers();
    const FileDetector& detector();
    const EngineList& engines();
    const ConversionPlanner& planner();

    /// Every finished job is recorded in the history before anyone else is told of it, unless none is to be kept.
    ConversionQueue& queue();
    void setKeepsHistory(bool keepsHistory) { keepsHistory_ = keepsHistory; }
    /// Called after the history has recorded a finished job.
    std::function<void(const ConversionJob&)> onJobFinished;

    const Environment& environment() const { return environment_; }
    const Preferences& preferences() const { return preferences_; }
    PreferencesFile& preferencesFile() { return preferencesFile_; }
    HistoryStore& history();
    RecipeLibrary recipes() const { return RecipeLibrary{RecipeLibrary::defaultFolder(environment_)}; }

private:
    MainLoop& mainLoop_;
    Environment environment_;
    PreferencesFile preferencesFile_;
    Preferences preferences_; // as they were at the start
    std::shared_ptr<WorkerPool> workers_;
    SourceProbes deepProbes_;
    std::optional<FileDetector> detector_;
    std::optional<EngineList> engines_;
    std::unique_ptr<ConversionPlanner> planner_;
    std::unique_ptr<HistoryStore> history_;
    bool keepsHistory_ = true;
    std::unique_ptr<ConversionQueue> queue_;
};

} // namespace nivex
