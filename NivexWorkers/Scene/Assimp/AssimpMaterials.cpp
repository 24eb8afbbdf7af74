#include "NivexWorkers/Scene/Assimp/AssimpMaterials.hpp"

#include "NivexWorkers/Scene/Model/TextureSet.hpp"

#include <assimp/defs.h>
#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>

namespace nivex::scene {
namespace {

TextureWrap wrapOf(aiTextureMapMode mode)
{
    return mode == aiTextureMapMode_Wrap     ? TextureWrap::repeat
           : mode == aiTextureMapMode_Mirror ? TextureWrap::mirror
                                             : TextureWrap::clamp;
}

class MaterialReader {
public:
    MaterialReader(const aiScene& source, const SceneInput& input) : source_{source}, textures_{input} {}

    std::vector<std::optional<Index>> read(Scene& scene)
    {
        std::vector<std::optional<Index>> places;
        for (const aiMaterial* each : std::span{source_.mMaterials, source_.mNumMaterials}) {
            aiString name;
            each->Get(AI_MATKEY_NAME, name);
            const bool isOfLibrary = std::string_view{name.C_Str()} == AI_DEFAULT_MATERIAL_NAME;
            places.push_back(isOfLibrary ? std::nullopt : std::optional{static_cast<Index>(scene.materials.size())});
            if (!isOfLibrary)
                scene.materials.push_back(material(*each, name.C_Str()));
        }
        scene.textures = std::move(textures_).release();
        return places;
    }

private:
    Material material(const aiMaterial& source, std::string name)
    {
        Material material{.name = std::move(name)};
        aiColor4D color{1, 1, 1, 1};
        if (source.Get(AI_MATKEY_BASE_COLOR, color) == aiReturn_SUCCESS ||
            source.Get(AI_MATKEY_COLOR_DIFFUSE, color) == aiReturn_SUCCESS)
            material.baseColor = {color.r, color.g, color.b, 1};
        float opacity = 1;
        if (source.Get(AI_MATKEY_OPACITY, opacity) == aiReturn_SUCCESS)
            material.baseColor.w = std::clamp(opacity, 0.0F, 1.0F);
        if (material.baseColor.w < 1)
            material.alphaMode = AlphaMode::blend;
        aiColor3D light{0, 0, 0};
        if (source.Get(AI_MATKEY_COLOR_EMISSIVE, light) == aiReturn_SUCCESS)
            material.emissive = {light.r, light.g, light.b};
        float exponent = 0;
        if (source.Get(AI_MATKEY_SHININESS, exponent) == aiReturn_SUCCESS && exponent > 0)
            material.roughness = std::sqrt(2 / (2 + exponent));
        source.Get(AI_MATKEY_ROUGHNESS_FACTOR, material.roughness);
        source.Get(AI_MATKEY_METALLIC_FACTOR, material.metallic);
        int isTwoSided = 0;
        material.isDoubleSided = source.Get(AI_MATKEY_TWOSIDED, isTwoSided) == aiReturn_SUCCESS && isTwoSided != 0;
        material.baseColorTexture = texture(source, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE});
        material.normalTexture = texture(source, {aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA});
        material.emissiveTexture = texture(source, {aiTextureType_EMISSION_COLOR, aiTextureType_EMISSIVE});
        if (material.baseColorTexture) // a colour beside a texture is what shows where there is none
            material.baseColor = {1, 1, 1, material.baseColor.w};
        return material;
    }

    /// That of the first of these kinds that there is.
    std::optional<TextureUse> texture(const aiMaterial& source, std::initializer_list<aiTextureType> kinds)
    {
        for (const aiTextureType kind : kinds) {
            aiString path;
            unsigned uvSet = 0;
            aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
            if (source.GetTexture(kind, 0, &path, nullptr, &uvSet, nullptr, nullptr, modes) != aiReturn_SUCCESS ||
                path.length == 0)
                continue;
            if (const auto picture = this->picture(path.C_Str()))
                return TextureUse{
                    .texture = *picture, .uvSet = uvSet, .wrapS = wrapOf(modes[0]), .wrapT = wrapOf(modes[1])};
        }
        return std::nullopt;
    }

    std::optional<Index> picture(const char* path)
    {
        const aiTexture* embedded = source_.GetEmbeddedTexture(path);
        if (!embedded || embedded->mHeight != 0) // one that is no file but pixels is what no source of these writes
            return textures_.file(path);
        const auto [known, isNew] = embedded_.try_emplace(embedded);
        if (isNew) {
            const std::span bytes{reinterpret_cast<const std::byte*>(embedded->pcData), embedded->mWidth};
            const std::string_view name{path};
            const std::size_t separator = name.find_last_of("/\\");
            known->second = textures_.embedded(separator == name.npos ? name : name.substr(separator + 1),
                                               {bytes.begin(), bytes.end()});
        }
        return known->second;
    }

    const aiScene& source_;
    TextureSet textures_;
    std::map<const aiTexture*, std::optional<Index>> embedded_;
};

} // namespace

std::vector<std::optional<Index>> readAssimpMaterials(const aiScene& source, const SceneInput& input, Scene& scene)
{
    return MaterialReader{source, input}.read(scene);
}

} // namespace nivex::scene
