#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Execution/ConversionQueue.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/MainLoop.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <memory>
#include <optional>

namespace nivex {

/// The one instance of each long-lived object, made when first asked for: recognising a file builds no planner, and
/// planning builds no queue. Main thread only.
class AppModel {
public:
    explicit AppModel(MainLoop& mainLoop) : mainLoop_{mainLoop} {}

    const FormatRegistry& registry() const { return FormatRegistry::standard(); }
    const FileDetector& detector() const { return detector_; }
    const EngineList& engines();
    const ConversionPlanner& planner();
    ConversionQueue& queue();

private:
    MainLoop& mainLoop_;
    FileDetector detector_{FormatRegistry::standard(), ResourceLimits::standard()};
    std::optional<EngineList> engines_;
    std::unique_ptr<ConversionPlanner> planner_;
    std::unique_ptr<ConversionQueue> queue_;
};

} // namespace nivex
