#pragma once

#include "NivexWorkers/Scene/Gltf/GltfBuffer.hpp"
#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/TextureFiles.hpp"

#include <map>
#include <optional>
#include <utility>

namespace nivex::scene {

/// The materials and textures of a scene, as JSON.
class GltfMaterialWriter {
public:
    /// Where pictures go: into the buffer or into files beside the output.
    enum class Place { inBuffer, beside };

    /// All outlive this.
    GltfMaterialWriter(const Scene& scene, Place place, GltfBuffer& buffer, SceneOutput& output)
        : scene_{scene}, place_{place}, buffer_{buffer}, output_{output}, files_{scene, output}
    {
    }

    /// Adds everything that the materials need to the root of a file. A texture that the format cannot hold is left
    /// out with a warning.
    void addTo(JsonObject& root);

private:
    JsonObject material(const Material& material);
    void addTexture(JsonObject& json, std::string_view name, const std::optional<TextureUse>& use);
    std::optional<std::int64_t> texture(const TextureUse& use);
    std::optional<std::int64_t> image(Index texture);
    std::int64_t sampler(TextureWrap s, TextureWrap t);

    const Scene& scene_;
    Place place_;
    GltfBuffer& buffer_;
    SceneOutput& output_;
    TextureFiles files_;
    JsonArray images_;
    JsonArray samplers_;
    JsonArray textures_;
    std::map<Index, std::optional<std::int64_t>> imageOf_;
    std::map<std::pair<TextureWrap, TextureWrap>, std::int64_t> samplerOf_;
    std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> textureOf_;
    bool movesTextures_ = false;
};

} // namespace nivex::scene
