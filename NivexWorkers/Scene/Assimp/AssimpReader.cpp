#include "NivexWorkers/Scene/Assimp/AssimpReader.hpp"

#include "NivexWorkers/Scene/Assimp/AssimpMaterials.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/VertexMerger.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/scene.h>

#include <algorithm>
#include <utility>

namespace nivex::scene {
namespace {

Vec3 vector(const aiVector3D& v) { return {v.x, v.y, v.z}; }

Matrix4 matrixOf(const aiMatrix4x4& m)
{
    Matrix4 matrix;
    for (unsigned row = 0; row < 4; ++row)
        for (unsigned column = 0; column < 4; ++column)
            matrix.at(row, column) = m[row][column];
    return matrix;
}

/// The library gives every corner a vertex of its own; equal values become one again.
Attribute<Vec3> merged(const aiVector3D* values, std::size_t count, const Indices& corners)
{
    Attribute<Vec3> attribute;
    VertexMerger merger{attribute.values};
    Indices places;
    places.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        places.push_back(merger.add(vector(values[i])));
    attribute.corners.reserve(corners.size());
    for (const Index corner : corners)
        attribute.corners.push_back(places[corner]);
    return attribute;
}

Attribute<Vec2> uvSet(const aiVector3D* values, std::size_t count, const Indices& corners)
{
    Attribute<Vec3> three = merged(values, count, corners);
    Attribute<Vec2> uvs{{}, std::move(three.corners)};
    uvs.values.reserve(three.values.size());
    for (const Vec3 each : three.values)
        uvs.values.push_back({each.x, each.y});
    return uvs;
}

Mesh meshOf(const aiMesh& source, std::optional<Index> material)
{
    Mesh mesh;
    mesh.name = source.mName.C_Str();
    Indices corners; // as the library counts vertices
    for (unsigned i = 0; i < source.mNumFaces; ++i) {
        const aiFace& face = source.mFaces[i];
        corners.insert(corners.end(), face.mIndices, face.mIndices + face.mNumIndices);
        mesh.faceSizes.push_back(face.mNumIndices);
    }
    if (std::ranges::any_of(corners, [&](Index corner) { return corner >= source.mNumVertices; }))
        throw ConversionError::unreadableSource("une face désigne un sommet qui n'existe pas"_fr);
    if (std::ranges::all_of(mesh.faceSizes, [](Index size) { return size == 3; }))
        mesh.faceSizes.clear();
    Attribute<Vec3> positions = merged(source.mVertices, source.mNumVertices, corners);
    mesh.positions = std::move(positions.values);
    mesh.corners = std::move(positions.corners);
    if (corners.empty())
        return mesh;
    if (source.HasNormals())
        mesh.normals = merged(source.mNormals, source.mNumVertices, corners);
    for (unsigned set = 0; set < AI_MAX_NUMBER_OF_TEXTURECOORDS && source.HasTextureCoords(set); ++set)
        mesh.uvSets.push_back(uvSet(source.mTextureCoords[set], source.mNumVertices, corners));
    if (source.HasVertexColors(0)) {
        mesh.colors.emplace();
        for (unsigned i = 0; i < source.mNumVertices; ++i) {
            const aiColor4D& color = source.mColors[0][i];
            mesh.colors->values.push_back({color.r, color.g, color.b, color.a});
        }
        mesh.colors->corners = corners;
    }
    if (material)
        mesh.materials = {{0, material}};
    return mesh;
}

/// Lists the nodes with each parent before its children, without the machine's stack.
void addNodes(const aiNode* root, Scene& scene)
{
    std::vector<std::pair<const aiNode*, std::optional<Index>>> pending{{root, std::nullopt}};
    while (!pending.empty()) {
        const auto [source, parent] = pending.back();
        pending.pop_back();
        const auto index = static_cast<Index>(scene.nodes.size());
        scene.nodes.push_back({.name = source->mName.C_Str(),
                               .transform = matrixOf(source->mTransformation),
                               .parent = parent,
                               .meshes = {source->mMeshes, source->mMeshes + source->mNumMeshes}});
        for (unsigned i = source->mNumChildren; i-- > 0;)
            pending.emplace_back(source->mChildren[i], index);
    }
}

bool moves(const aiScene& source)
{
    const std::span meshes{source.mMeshes, source.mNumMeshes};
    return source.mNumAnimations > 0 ||
           std::ranges::any_of(meshes, [](const aiMesh* mesh) { return mesh->HasBones() || mesh->mNumAnimMeshes > 0; });
}

std::uint64_t verticesOf(const aiScene& source)
{
    std::uint64_t count = 0;
    for (const aiMesh* mesh : std::span{source.mMeshes, source.mNumMeshes})
        count += mesh->mNumVertices;
    return count;
}

/// An importer set up to change nothing.
void prepare(Assimp::Importer& importer)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_CAMERAS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_READ_LIGHTS, false);
}

/// format  by which the library finds its reader
/// finish  adds what the format says besides
template <class Finish>
Scene imported(const SceneInput& input, const char* format, Finish finish)
{
    Assimp::Importer importer;
    prepare(importer);
    const aiScene* source = nullptr;
    {
        const std::vector<std::byte> bytes = input.bytes.read(0, input.bytes.size());
        source = importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, format);
    }
    input.progress(0.8);
    const std::string_view failure = importer.GetErrorString();
    if (failure.find("old format version") != failure.npos)
        throw ConversionError::unsupported("cette version ancienne du format FBX n'est pas lue"_fr).because(failure);
    if (!source || !source->mRootNode)
        throw ConversionError::unreadableSource("les données du modèle sont endommagées"_fr).because(failure);
    checkVertexCount(verticesOf(*source) / 6, input.limits); // a vertex for each corner, six of which meet at one
    Scene scene;
    const std::vector<std::optional<Index>> materials = readAssimpMaterials(*source, input, scene);
    for (const aiMesh* mesh : std::span{source->mMeshes, source->mNumMeshes})
        scene.meshes.push_back(
            meshOf(*mesh, mesh->mMaterialIndex < materials.size() ? materials[mesh->mMaterialIndex] : std::nullopt));
    addNodes(source->mRootNode, scene);
    scene.hasRigOrAnimation = moves(*source);
    finish(*source, scene);
    return scene;
}

} // namespace

Scene readFbx(const SceneInput& input)
{
    return imported(input, "fbx", [](const aiScene& source, Scene& scene) {
        double centimeters = 1;
        if (source.mMetaData)
            source.mMetaData->Get("UnitScaleFactor", centimeters);
        scene.frame = Frame{.up = UpAxis::y, .metersPerUnit = centimeters > 0 ? centimeters / 100 : 0.01};
    });
}

Scene readCollada(const SceneInput& input)
{
    return imported(input, "dae", [](const aiScene&, Scene& scene) { scene.frame = Frame{}; });
}

} // namespace nivex::scene
