#include "NivexWorkers/Scene/Gltf/GltfMaterialWriter.hpp"

#include "NivexWorkers/Scene/Gltf/GltfMaterials.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <string>

namespace nivex::scene {
namespace {

std::int64_t codeOf(TextureWrap wrap)
{
    return wrap == TextureWrap::clamp ? 33071 : wrap == TextureWrap::mirror ? 33648 : 10497;
}

/// The format takes factors from 0 to 1 only.
double factor(float value) { return std::clamp(double{value}, 0.0, 1.0); }

} // namespace

void GltfMaterialWriter::addTo(JsonObject& root)
{
    JsonArray materials;
    for (const Material& each : scene_.materials)
        materials.push_back(material(each));
    const auto set = [&root](std::string_view name, JsonArray& values) {
        if (!values.empty())
            root.set(name, std::move(values));
    };
    set("materials", materials);
    set("textures", textures_);
    set("samplers", samplers_);
    set("images", images_);
    if (movesTextures_)
        root.set("extensionsUsed", JsonArray{"KHR_texture_transform"});
}

JsonObject GltfMaterialWriter::material(const Material& material)
{
    const Vec4& color = material.baseColor;
    JsonObject surface{
        {"baseColorFactor", JsonArray{factor(color.x), factor(color.y), factor(color.z), factor(color.w)}},
        {"metallicFactor", factor(material.metallic)},
        {"roughnessFactor", factor(material.roughness)}};
    addTexture(surface, "baseColorTexture", material.baseColorTexture);
    addTexture(surface, "metallicRoughnessTexture", material.metallicRoughnessTexture);
    JsonObject json;
    if (!material.name.empty())
        json.set("name", material.name);
    json.set("pbrMetallicRoughness", std::move(surface));
    addTexture(json, "normalTexture", material.normalTexture);
    if (const JsonObject* normal = json.find("normalTexture") ? json.find("normalTexture")->object() : nullptr;
        normal && material.normalScale != 1) {
        JsonObject scaled = *normal;
        scaled.set("scale", double{material.normalScale});
        json.set("normalTexture", std::move(scaled));
    }
    addTexture(json, "occlusionTexture", material.occlusionTexture);
    addTexture(json, "emissiveTexture", material.emissiveTexture);
    if (const Vec3& light = material.emissive; light != Vec3{})
        json.set("emissiveFactor", JsonArray{factor(light.x), factor(light.y), factor(light.z)});
    if (material.alphaMode != AlphaMode::opaque)
        json.set("alphaMode", material.alphaMode == AlphaMode::mask ? "MASK" : "BLEND");
    if (material.alphaMode == AlphaMode::mask)
        json.set("alphaCutoff", std::max(double{material.alphaCutoff}, 0.0));
    if (material.isDoubleSided)
        json.set("doubleSided", true);
    return json;
}

void GltfMaterialWriter::addTexture(JsonObject& json, std::string_view name, const std::optional<TextureUse>& use)
{
    const auto index = use ? texture(*use) : std::nullopt;
    if (!index)
        return;
    JsonObject info{{"index", *index}};
    if (use->uvSet > 0)
        info.set("texCoord", std::int64_t{use->uvSet});
    if (const TextureUse turned = toUpperLeft(*use); use->isMoved()) {
        JsonObject moved{{"offset", JsonArray{double{turned.offset.x}, double{turned.offset.y}}},
                         {"rotation", double{turned.rotation}},
                         {"scale", JsonArray{double{turned.scale.x}, double{turned.scale.y}}}};
        info.set("extensions", JsonObject{{"KHR_texture_transform", std::move(moved)}});
        movesTextures_ = true;
    }
    json.set(name, std::move(info));
}

std::optional<std::int64_t> GltfMaterialWriter::texture(const TextureUse& use)
{
    const auto picture = image(use.texture);
    if (!picture)
        return std::nullopt;
    const std::int64_t wraps = sampler(use.wrapS, use.wrapT);
    const auto [known, isNew] = textureOf_.try_emplace({*picture, wraps}, static_cast<std::int64_t>(textures_.size()));
    if (isNew)
        textures_.push_back(JsonObject{{"source", *picture}, {"sampler", wraps}});
    return known->second;
}

std::int64_t GltfMaterialWriter::sampler(TextureWrap s, TextureWrap t)
{
    const auto [known, isNew] = samplerOf_.try_emplace({s, t}, static_cast<std::int64_t>(samplers_.size()));
    if (isNew)
        samplers_.push_back(JsonObject{{"wrapS", codeOf(s)}, {"wrapT", codeOf(t)}});
    return known->second;
}

std::optional<std::int64_t> GltfMaterialWriter::image(Index texture)
{
    const auto [known, isNew] = imageOf_.try_emplace(texture);
    if (!isNew)
        return known->second;
    const Texture& picture = scene_.textures[texture];
    if (picture.extension != "png" && picture.extension != "jpg") {
        output_.warn(filled("La texture « {} » n'est pas reprise : ce format n'accepte que des images PNG et JPEG."_fr,
                            {picture.name}));
        return std::nullopt;
    }
    JsonObject image;
    if (!picture.name.empty())
        image.set("name", picture.name);
    if (place_ == Place::beside) {
        image.set("uri", uriOfFile(files_.nameOf(texture)));
    } else {
        const std::string_view bytes{reinterpret_cast<const char*>(picture.bytes.data()), picture.bytes.size()};
        image.set("mimeType", picture.extension == "png" ? "image/png" : "image/jpeg");
        image.set("bufferView", buffer_.addView(bytes, GltfBuffer::Use::other));
    }
    known->second = static_cast<std::int64_t>(images_.size());
    images_.push_back(std::move(image));
    return known->second;
}

} // namespace nivex::scene
