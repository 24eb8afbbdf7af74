#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <set>

namespace nivex {

/// Decodes and encodes pictures. The work is done by the worker program "image".
class NativeImageEngine final : public ConversionEngine {
public:
    /// The pool outlives the engine.
    explicit NativeImageEngine(const FormatRegistry& registry, WorkerPool& pool = WorkerPool::standard());

    EngineID id() const override { return "native-image"; }
    std::string displayName() const override;
    EngineAvailability availability() const override { return availability_; }
    std::span<const EngineCapability> capabilities() const override { return capabilities_; }
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target) const override;
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override;

    /// The picture formats that the registry knows and that this engine does not read yet.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry);

private:
    WorkerPool& pool_;
    EngineAvailability availability_;
    std::vector<EngineCapability> capabilities_;
};

} // namespace nivex
