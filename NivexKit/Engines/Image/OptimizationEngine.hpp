#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Makes a picture smaller in its own format.
class OptimizationEngine final : public WorkerEngine {
public:
    OptimizationEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
};

} // namespace nivex
