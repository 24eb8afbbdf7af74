#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

/// Reads a 3MF package: what it asks to be built, with materials, colours and textures of triangles, from all of its
/// parts; beams become lines. Mixtures of materials are left out with a warning. Throws ConversionError.
Scene read3mf(const SceneInput& input);

} // namespace nivex::scene
