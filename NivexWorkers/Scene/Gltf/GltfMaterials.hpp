#pragma once

#include "NivexWorkers/Scene/Gltf/GltfDocument.hpp"
#include "NivexWorkers/Scene/Model/Scene.hpp"

namespace nivex::scene {

/// Reads all materials of a file, and the textures that they use, into a scene; a material keeps its index.
void readGltfMaterials(const GltfDocument& document, const SceneInput& input, Scene& scene);

/// The use of a texture whose placing is told in pictures that begin at the upper left, as in glTF, told in those that
/// begin at the lower left, as in the model.
TextureUse fromUpperLeft(TextureUse use);

/// The other way.
TextureUse toUpperLeft(TextureUse use);

} // namespace nivex::scene
