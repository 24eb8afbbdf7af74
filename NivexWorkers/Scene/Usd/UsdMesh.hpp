#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Usd/UsdText.hpp"

#include <string>
#include <vector>

namespace nivex::scene {

/// Writes a mesh as a prim of this name: its polygons, and below it its lines and points, which are prims of their own.
///
/// materials  of the scene, and the path of each
void writeUsdMesh(const Mesh& mesh, const std::string& name, const std::vector<Material>& materials,
                  const std::vector<std::string>& materialPaths, UsdText& text);

} // namespace nivex::scene
