#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

// Readers of formats that a library knows. Throw ConversionError.

/// An FBX file, text or binary, with the textures inside it and those beside it.
Scene readFbx(const SceneInput& input);

/// A COLLADA file, in metres with y up, whatever it measures in.
Scene readCollada(const SceneInput& input);

} // namespace nivex::scene
