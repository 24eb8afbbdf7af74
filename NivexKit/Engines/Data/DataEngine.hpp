#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Converts tables and nested data among each other.
class DataEngine final : public WorkerEngine {
public:
    DataEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    /// A file for each sheet where the source has sheets and the target none.
    ExpectedOutputs expectedOutputs(const EngineRequest& request) const override;
};

} // namespace nivex
