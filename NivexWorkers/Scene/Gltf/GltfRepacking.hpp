#pragma once

#include "NivexWorkers/Scene/Model/SceneInput.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Puts a glTF file into a container (GLB), with the buffers and pictures that it names, as it is: whatever it holds
/// beyond a model, such as cameras, skeletons and extensions, stays. What is not to be had keeps its name, with a
/// warning; a missing buffer is an error. Throws ConversionError.
void packGltf(const SceneInput& input, SceneOutput& output);

/// Takes a glTF file out of its container in the same way: buffer and pictures become files beside it.
void unpackGlb(const SceneInput& input, SceneOutput& output);

} // namespace nivex::scene
