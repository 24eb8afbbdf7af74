#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Usd/UsdText.hpp"

#include <functional>
#include <string>
#include <vector>

namespace nivex::scene {

/// The name by which a texture is referred to; empty for one that is left out.
using UsdTextureName = std::function<std::string(Index texture)>;

/// The name of the coordinates of a UV set.
std::string usdUvSetName(Index uvSet);

/// Writes the materials of a scene below a prim of this path, each with the network of what it is made of.
///
/// returns  the path of each
std::vector<std::string> writeUsdMaterials(const Scene& scene, const std::string& path,
                                           const UsdTextureName& textureName, UsdText& text);

} // namespace nivex::scene
