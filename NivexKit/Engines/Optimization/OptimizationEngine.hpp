#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

namespace nivex {

/// Makes a picture smaller in its own format. The work is done by the worker program "image".
class OptimizationEngine final : public ConversionEngine {
public:
    /// The pool outlives the engine.
    explicit OptimizationEngine(const FormatRegistry& registry, WorkerPool& pool = WorkerPool::standard());

    EngineID id() const override { return "native-optimization"; }
    std::string displayName() const override;
    EngineAvailability availability() const override { return availability_; }
    std::span<const EngineCapability> capabilities() const override { return capabilities_; }
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target) const override;
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override;

private:
    WorkerPool& pool_;
    EngineAvailability availability_;
    std::vector<EngineCapability> capabilities_;
};

} // namespace nivex
