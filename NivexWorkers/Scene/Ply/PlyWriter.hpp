#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Writes a scene as one binary PLY file: polygons, lines and points, each mesh where it is shown, with the colours,
/// and the normals and texture coordinates where every mesh has them.
void writePly(const Scene& scene, SceneOutput& output);

} // namespace nivex::scene
