#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Writes a scene as a text layer of USD, with its textures as files beside it.
void writeUsd(const Scene& scene, SceneOutput& output);

/// Writes a scene as a USDZ package: the layer and its textures, uncompressed and each at a multiple of 64 bytes.
void writeUsdz(const Scene& scene, SceneOutput& output);

} // namespace nivex::scene
