#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

/// Reads an STL file, text or binary. Corners at one place become one vertex; the normals of facets are left out, as
/// they follow from the corners. Throws ConversionError.
Scene readStl(const SceneInput& input);

} // namespace nivex::scene
