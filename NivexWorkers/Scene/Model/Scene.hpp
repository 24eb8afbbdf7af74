#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace nivex::scene {

/// A picture, as it lies in its file.
struct Texture {
    std::string name;      // of its file, without a folder
    std::string extension; // of what the bytes show, in lower case: "png", "jpg"
    std::vector<std::byte> bytes;

    bool operator==(const Texture&) const = default;
};

enum class TextureWrap { repeat, clamp, mirror };

/// How a material uses a texture. Points of a UV set are stretched, turned and moved before they meet the picture.
struct TextureUse {
    Index texture = 0;
    Index uvSet = 0;
    TextureWrap wrapS = TextureWrap::repeat;
    TextureWrap wrapT = TextureWrap::repeat;
    Vec2 offset{0, 0};
    Vec2 scale{1, 1};
    float rotation = 0; // radians, counterclockwise

    bool isMoved() const { return offset != Vec2{0, 0} || scale != Vec2{1, 1} || rotation != 0; }
    bool operator==(const TextureUse&) const = default;
};

enum class AlphaMode { opaque, mask, blend };

/// How a surface looks: metal or not, rough or smooth. Numbers multiply what textures say.
struct Material {
    std::string name;
    Vec4 baseColor{1, 1, 1, 1}; // linear, with opacity
    std::optional<TextureUse> baseColorTexture;
    float metallic = 0;
    float roughness = 1;
    std::optional<TextureUse> metallicRoughnessTexture; // roughness in green, metal in blue
    std::optional<TextureUse> normalTexture;
    float normalScale = 1;
    std::optional<TextureUse> occlusionTexture; // in red
    Vec3 emissive{0, 0, 0};
    std::optional<TextureUse> emissiveTexture;
    AlphaMode alphaMode = AlphaMode::opaque;
    float alphaCutoff = 0.5F;
    bool isDoubleSided = false;

    bool operator==(const Material&) const = default;
};

/// A place in the tree of a scene. Several nodes may show one mesh.
struct Node {
    std::string name;
    std::variant<Placement, Matrix4> transform;
    std::optional<Index> parent;
    std::vector<Index> meshes;

    Matrix4 matrix() const
    {
        const Placement* placement = std::get_if<Placement>(&transform);
        return placement ? Matrix4::of(*placement) : std::get<Matrix4>(transform);
    }
    bool operator==(const Node&) const = default;
};

enum class UpAxis { y, z };

/// What the numbers of a scene measure.
struct Frame {
    UpAxis up = UpAxis::y;
    double metersPerUnit = 1;

    bool operator==(const Frame&) const = default;
};

/// A three-dimensional scene, between a reader and a writer.
struct Scene {
    std::vector<Mesh> meshes;
    std::vector<Material> materials;
    std::vector<Texture> textures;
    std::vector<Node> nodes;    // a parent stands before its children
    std::optional<Frame> frame; // none where the format does not say
    bool hasRigOrAnimation = false;

    /// Adds a mesh and a node at the root that shows it under its name.
    void add(Mesh mesh)
    {
        nodes.push_back(
            {.name = mesh.name, .transform = Placement{}, .parent = {}, .meshes = {static_cast<Index>(meshes.size())}});
        meshes.push_back(std::move(mesh));
    }
    bool operator==(const Scene&) const = default;
};

/// A mesh where a node shows it.
struct ShownMesh {
    const Mesh* mesh;
    const Node* node;
    Matrix4 toWorld;
};

/// Every mesh of a scene that has passed the check, as often as it is shown, in the order of the nodes.
std::vector<ShownMesh> shownMeshes(const Scene& scene);

} // namespace nivex::scene
