#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

#include <set>

namespace nivex {

/// Decodes and encodes pictures, and draws the pages of PDF documents as pictures.
class NativeImageEngine final : public WorkerEngine {
public:
    NativeImageEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    bool removesMetadata(const FileFormat& format) const override;

    /// A file for each page of a document, save where one file holds them all.
    ExpectedOutputs expectedOutputs(const EngineRequest& request) const override;

    /// The picture formats that the registry knows and that this engine does not read yet.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry);

private:
    std::string programFor(const EngineRequest& request) const override;
};

} // namespace nivex
