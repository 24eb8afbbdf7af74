#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

/// Reads an OBJ file with the materials and textures that it names: polygons, lines and points, a mesh for each object
/// (or group, where the file names no objects). Curves and surfaces in formulas are left out with a warning. Throws
/// ConversionError.
Scene readObj(const SceneInput& input);

} // namespace nivex::scene
