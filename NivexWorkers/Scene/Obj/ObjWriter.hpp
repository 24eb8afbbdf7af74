#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Writes a scene as an OBJ file: an object for each mesh where it is shown, with its polygons, lines and points, and
/// beside it the list of materials and the textures, where there are any.
void writeObj(const Scene& scene, SceneOutput& output);

} // namespace nivex::scene
