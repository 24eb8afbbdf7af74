#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

namespace nivex::scene {

/// Reads the scene that a glTF 2.0 file shows first, from JSON or from a container (GLB), with the buffers and textures
/// that it names. Throws ConversionError; `unsupported` for an extension that it demands and that is not understood.
Scene readGltf(const SceneInput& input);

} // namespace nivex::scene
