#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Converts sound and films. A stream that fits the target is taken over as it is; only what does not fit, or what a
/// person wants otherwise, is encoded anew.
class MediaEngine final : public WorkerEngine {
public:
    MediaEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    std::optional<std::chrono::seconds> timeout(const EngineRequest& request) const override
    {
        return request.limits.mediaStepTimeout;
    }

    /// The formats that its worker program measures.
    static std::vector<FormatID> measuredFormats(const FormatRegistry& registry);
};

} // namespace nivex
