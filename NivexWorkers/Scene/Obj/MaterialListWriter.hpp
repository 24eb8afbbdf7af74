#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

#include <string>
#include <vector>

namespace nivex::scene {

/// Writes the materials of a scene as a list (MTL), with the textures that it names beside it, and returns the name of
/// each material. What the list cannot tell is said in a warning.
std::vector<std::string> writeMaterialList(const Scene& scene, const std::filesystem::path& location,
                                           SceneOutput& output);

} // namespace nivex::scene
