#include "NivexWorkers/Scene/Gltf/GltfMaterials.hpp"

#include "NivexWorkers/Scene/Model/TextureSet.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"

#include <array>
#include <cmath>

namespace nivex::scene {
namespace {

TextureWrap wrapOf(std::int64_t code)
{
    return code == 33071 ? TextureWrap::clamp : code == 33648 ? TextureWrap::mirror : TextureWrap::repeat;
}

class MaterialReader {
public:
    MaterialReader(const GltfDocument& document, const SceneInput& input) : document_{document}, textures_{input} {}

    void read(Scene& scene)
    {
        for (const JsonValue& each : document_.list("materials"))
            scene.materials.push_back(each.object() ? material(*each.object()) : Material{});
        scene.textures = std::move(textures_).release();
    }

private:
    Material material(const JsonObject& json)
    {
        Material material{.name = std::string{textOf(json, "name")}, .metallic = 1};
        if (const JsonObject* surface = objectOf(json, "pbrMetallicRoughness")) {
            material.baseColor = color(*surface, "baseColorFactor");
            material.baseColorTexture = texture(*surface, "baseColorTexture");
            material.metallic = static_cast<float>(numberOf(*surface, "metallicFactor").value_or(1));
            material.roughness = static_cast<float>(numberOf(*surface, "roughnessFactor").value_or(1));
            material.metallicRoughnessTexture = texture(*surface, "metallicRoughnessTexture");
        }
        if (const JsonObject* extensions = objectOf(json, "extensions"))
            if (const JsonObject* glossy = objectOf(*extensions, "KHR_materials_pbrSpecularGlossiness")) {
                material.baseColor = color(*glossy, "diffuseFactor");
                material.baseColorTexture = texture(*glossy, "diffuseTexture");
                material.metallic = 0;
                material.roughness = 1 - static_cast<float>(numberOf(*glossy, "glossinessFactor").value_or(1));
            }
        if (const JsonObject* normal = objectOf(json, "normalTexture"))
            material.normalScale = static_cast<float>(numberOf(*normal, "scale").value_or(1));
        material.normalTexture = texture(json, "normalTexture");
        material.occlusionTexture = texture(json, "occlusionTexture");
        material.emissiveTexture = texture(json, "emissiveTexture");
        std::array<float, 3> emissive{};
        takeNumbers(json, "emissiveFactor", emissive);
        material.emissive = {emissive[0], emissive[1], emissive[2]};
        const std::string_view alpha = textOf(json, "alphaMode");
        material.alphaMode = alpha == "MASK"    ? AlphaMode::mask
                             : alpha == "BLEND" ? AlphaMode::blend
                                                : AlphaMode::opaque;
        material.alphaCutoff = static_cast<float>(numberOf(json, "alphaCutoff").value_or(0.5));
        const JsonValue* isDoubleSided = json.find("doubleSided");
        material.isDoubleSided = isDoubleSided && isDoubleSided->boolean() && *isDoubleSided->boolean();
        return material;
    }

    static Vec4 color(const JsonObject& json, std::string_view name)
    {
        std::array<float, 4> parts{1, 1, 1, 1};
        takeNumbers(json, name, parts);
        return {parts[0], parts[1], parts[2], parts[3]};
    }

    std::optional<TextureUse> texture(const JsonObject& json, std::string_view name)
    {
        const JsonObject* info = objectOf(json, name);
        const auto index = info ? integerOf(*info, "index") : std::nullopt;
        if (!index)
            return std::nullopt;
        const JsonObject& texture = document_.object("textures", *index);
        const auto picture = image(texture);
        if (!picture)
            return std::nullopt;
        TextureUse use{.texture = *picture,
                       .uvSet = static_cast<Index>(integerOf(*info, "texCoord").value_or(0) & 0xFF)};
        if (const auto sampler = integerOf(texture, "sampler")) {
            const JsonObject& wraps = document_.object("samplers", *sampler);
            use.wrapS = wrapOf(integerOf(wraps, "wrapS").value_or(0));
            use.wrapT = wrapOf(integerOf(wraps, "wrapT").value_or(0));
        }
        if (const JsonObject* extensions = objectOf(*info, "extensions"))
            if (const JsonObject* moved = objectOf(*extensions, "KHR_texture_transform"))
                place(*moved, use);
        return fromUpperLeft(use);
    }

    static void place(const JsonObject& json, TextureUse& use)
    {
        std::array<float, 2> offset{0, 0};
        std::array<float, 2> scale{1, 1};
        takeNumbers(json, "offset", offset);
        takeNumbers(json, "scale", scale);
        use.offset = {offset[0], offset[1]};
        use.scale = {scale[0], scale[1]};
        use.rotation = static_cast<float>(numberOf(json, "rotation").value_or(0));
        use.uvSet = static_cast<Index>(integerOf(json, "texCoord").value_or(use.uvSet) & 0xFF);
    }

    std::optional<Index> image(const JsonObject& texture)
    {
        std::optional<std::int64_t> index = integerOf(texture, "source");
        if (const JsonObject* extensions = objectOf(texture, "extensions"); extensions && !index)
            if (const JsonObject* webp = objectOf(*extensions, "EXT_texture_webp"))
                index = integerOf(*webp, "source");
        if (!index)
            return std::nullopt;
        const auto [known, isNew] = images_.try_emplace(*index);
        if (isNew)
            known->second = loaded(document_.object("images", *index));
        return known->second;
    }

    std::optional<Index> loaded(const JsonObject& image)
    {
        const std::string_view uri = textOf(image, "uri");
        if (!uri.empty() && !uri.starts_with("data:"))
            return textures_.file(sideFileOfUri(uri));
        if (!uri.empty())
            return textures_.embedded(textOf(image, "name"), *document_.resource(uri));
        const auto view = integerOf(image, "bufferView");
        if (!view)
            return std::nullopt;
        const auto bytes = document_.bufferView(*view);
        return textures_.embedded(textOf(image, "name"), {bytes.begin(), bytes.end()});
    }

    const GltfDocument& document_;
    TextureSet textures_;
    std::map<std::int64_t, std::optional<Index>> images_;
};

} // namespace

// A point (u, v) becomes (u, 1 - v) before and after the placing.

TextureUse fromUpperLeft(TextureUse use)
{
    if (use.isMoved())
        use.offset = {use.offset.x + std::sin(use.rotation) * use.scale.y,
                      1 - use.offset.y - std::cos(use.rotation) * use.scale.y};
    return use;
}

TextureUse toUpperLeft(TextureUse use)
{
    if (use.isMoved())
        use.offset = {use.offset.x - std::sin(use.rotation) * use.scale.y,
                      1 - use.offset.y - std::cos(use.rotation) * use.scale.y};
    return use;
}

void readGltfMaterials(const GltfDocument& document, const SceneInput& input, Scene& scene)
{
    MaterialReader{document, input}.read(scene);
}

} // namespace nivex::scene
