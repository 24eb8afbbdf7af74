#include "NivexWorkers/Scene/Gltf/GltfSurvey.hpp"

#include "NivexWorkers/Scene/Gltf/GltfDocument.hpp"

#include <algorithm>

namespace nivex::scene {
namespace {

bool hasTargets(const JsonValue& mesh)
{
    const auto primitives = mesh.object() ? arrayOf(*mesh.object(), "primitives") : std::span<const JsonValue>{};
    return std::ranges::any_of(
        primitives, [](const JsonValue& each) { return each.object() && !arrayOf(*each.object(), "targets").empty(); });
}

} // namespace

SourceProperties surveyGltf(const SceneInput& input)
{
    const GltfDocument document{input};
    const bool moves = !document.list("skins").empty() || !document.list("animations").empty() ||
                       std::ranges::any_of(document.list("meshes"), hasTargets);
    return {.hasRigOrAnimation = moves, .hasMaterials = !document.list("materials").empty()};
}

} // namespace nivex::scene
