#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include <optional>
#include <vector>

struct aiScene;

namespace nivex::scene {

/// Takes over the materials and textures that the library has read.
///
/// returns  the material of the scene for each of the library's; none for the one that it adds itself
std::vector<std::optional<Index>> readAssimpMaterials(const aiScene& source, const SceneInput& input, Scene& scene);

} // namespace nivex::scene
