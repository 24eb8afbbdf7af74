#include "NivexKit/Engines/Scene/SceneFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

// clang-format off
constexpr SceneFormat formats[] = {
    {.id = "obj",  .isWritten = true, .hasMaterials = true},
    {.id = "stl",  .isWritten = true},
    {.id = "fbx",  .hasMaterials = true, .rigs = "fbx"},
    {.id = "glb",  .isWritten = true, .hasMaterials = true, .rigs = "gltf"},
    {.id = "gltf", .isWritten = true, .hasMaterials = true, .rigs = "gltf"},
    {.id = "usd",  .isRead = false, .isWritten = true, .hasMaterials = true},
    {.id = "usdz", .isRead = false, .isWritten = true, .hasMaterials = true},
    {.id = "dae",  .hasMaterials = true, .rigs = "dae"},
    {.id = "ply",  .isWritten = true},
    {.id = "3mf",  .hasMaterials = true},
};
// clang-format on

} // namespace

std::span<const SceneFormat> sceneFormats() { return formats; }

const SceneFormat* sceneFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &SceneFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
