#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

/// Reads a PLY file, text or binary: polygons, strips of triangles, lines or a cloud of points, with normals, colours
/// and texture coordinates of vertices or of faces. Throws ConversionError.
Scene readPly(const SceneInput& input);

} // namespace nivex::scene
