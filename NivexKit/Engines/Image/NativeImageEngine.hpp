#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

#include <set>

namespace nivex {

/// Decodes and encodes pictures.
class NativeImageEngine final : public WorkerEngine {
public:
    NativeImageEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    bool removesMetadata(const FileFormat& format) const override;

    /// The picture formats that the registry knows and that this engine does not read yet.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry);
};

} // namespace nivex
