#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Converts three-dimensional scenes among each other.
class SceneEngine final : public WorkerEngine {
public:
    SceneEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    /// Materials and motion are lost where the target has none; a file that was measured and has none loses none.
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    /// Materials, buffer and textures beside the file, where the target keeps them so.
    ExpectedOutputs expectedOutputs(const EngineRequest& request) const override;
    std::vector<std::filesystem::path> references(const EngineRequest& request,
                                                  const std::filesystem::path& file) const override;

    /// The formats that its worker program measures.
    static std::vector<FormatID> measuredFormats(const FormatRegistry& registry);
};

} // namespace nivex
