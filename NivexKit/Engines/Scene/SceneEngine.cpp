#include "NivexKit/Engines/Scene/SceneEngine.hpp"

#include "NivexKit/Engines/Scene/SceneFormats.hpp"
#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

namespace nivex {
namespace {

constexpr std::int64_t mostSideFiles = 1'000;

ConversionLoss lossesOf(const SceneFormat& source, const SourceProperties& properties, const SceneFormat& target)
{
    ConversionLoss losses;
    if (source.hasMaterials && !target.hasMaterials && properties.hasMaterials.value_or(true))
        losses |= ConversionLoss::materials;
    if (!source.rigs.empty() && source.rigs != target.rigs && properties.hasRigOrAnimation.value_or(true))
        losses |= ConversionLoss::rigging;
    return losses;
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const SceneFormat& source : sceneFormats())
        for (const SceneFormat& target : sceneFormats()) {
            const FileFormat* from = registry.format(FormatID{source.id});
            const FileFormat* to = registry.format(FormatID{target.id});
            if (from && to && from != to && source.isRead && target.isWritten)
                edges.push_back({.source = from->id,
                                 .target = to->id,
                                 .potentialLosses = lossesOf(source, {}, target),
                                 .reportsProgress = true});
        }
    return edges;
}

} // namespace

SceneEngine::SceneEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-3d", "3D (FBX, glTF, USD, OBJ, STL, PLY)"_fr, "scene"}, std::move(pool), edges(registry)}
{
}

ConversionLoss SceneEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                           const FileFormat& target, const ConversionOptions&) const
{
    const SceneFormat* from = sceneFormat(source.id.rawValue);
    const SceneFormat* to = sceneFormat(target.id.rawValue);
    return from && to ? lossesOf(*from, properties, *to) : ConversionLoss{};
}

ExpectedOutputs SceneEngine::expectedOutputs(const EngineRequest& request) const
{
    const FormatID& target = request.targetFormat.id;
    if (target != "obj" && target != "gltf" && target != "usd")
        return {};
    return {
        .maxFiles = 1,
        .companionExtensions = {"mtl", "bin", "png", "jpg", "webp", "gif", "bmp", "tif", "tga", "dds", "hdr", "exr"},
        .maxCompanions = mostSideFiles};
}

std::vector<std::filesystem::path> SceneEngine::references(const EngineRequest& request,
                                                           const std::filesystem::path& file) const
{
    if (file == request.input)
        return sideFilesNamedIn(file, request.sourceFormat.id.rawValue);
    // Of the files beside a scene only lists of materials name others.
    return equalsIgnoringCase(file.extension().native(), ".mtl") ? sideFilesNamedIn(file, "mtl")
                                                                 : std::vector<std::filesystem::path>{};
}

std::vector<FormatID> SceneEngine::measuredFormats(const FormatRegistry& registry)
{
    std::vector<FormatID> measured;
    for (const SceneFormat& format : sceneFormats())
        if (registry.format(FormatID{format.id}) && format.isRead && format.hasMaterials)
            measured.push_back(FormatID{format.id});
    return measured;
}

} // namespace nivex
