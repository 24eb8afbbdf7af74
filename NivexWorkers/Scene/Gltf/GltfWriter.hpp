#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Writes a scene as a glTF 2.0 container (GLB) with everything in it.
void writeGlb(const Scene& scene, SceneOutput& output);

/// Writes a scene as glTF 2.0 JSON, with its buffer and its textures as files beside it.
void writeGltf(const Scene& scene, SceneOutput& output);

} // namespace nivex::scene
