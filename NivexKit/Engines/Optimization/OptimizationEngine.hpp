#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Makes a picture or a film smaller in its own format.
class OptimizationEngine final : public WorkerEngine {
public:
    OptimizationEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    std::optional<std::chrono::seconds> timeout(const EngineRequest& request) const override;

protected:
    std::string programFor(const EngineRequest& request) const override;
};

} // namespace nivex
