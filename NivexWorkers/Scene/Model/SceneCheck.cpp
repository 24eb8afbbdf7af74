#include "NivexWorkers/Scene/Model/SceneCheck.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <string>

namespace nivex::scene {
namespace {

constexpr Index deepestNode = 1'000; // below the first

ConversionError damaged(const std::string& cause)
{
    return ConversionError::unreadableSource("les données du modèle sont endommagées"_fr).because(cause);
}

ConversionError notANumber(const std::string& cause)
{
    return ConversionError::unreadableSource("le modèle contient des coordonnées qui ne sont pas des nombres"_fr)
        .because(cause);
}

bool areBelow(const Indices& indices, std::size_t bound)
{
    return indices.empty() || *std::ranges::max_element(indices) < bound;
}

template <class T>
void checkAttribute(const Mesh& mesh, const Attribute<T>& attribute, const char* what)
{
    if (attribute.isOfVertices()
            ? attribute.values.size() != mesh.positions.size()
            : attribute.corners.size() != mesh.corners.size() || !areBelow(attribute.corners, attribute.values.size()))
        throw damaged(mesh.name + ": " + what);
}

void checkFaces(const Mesh& mesh)
{
    std::uint64_t corners = 0;
    for (const Index size : mesh.faceSizes)
        corners += size;
    const bool fits = mesh.faceSizes.empty() ? mesh.corners.size() % 3 == 0 : corners == mesh.corners.size();
    if (!fits || !areBelow(mesh.corners, mesh.positions.size()))
        throw damaged(mesh.name + ": faces");
}

void checkMaterials(const Mesh& mesh, std::size_t materialCount)
{
    if (!mesh.materials.empty() && mesh.materials.front().firstFace != 0)
        throw damaged(mesh.name + ": materials");
    if (!std::ranges::is_sorted(mesh.materials, {}, &MaterialRun::firstFace))
        throw damaged(mesh.name + ": materials");
    for (const MaterialRun& run : mesh.materials)
        if (run.firstFace > mesh.faceCount() || (run.material && *run.material >= materialCount))
            throw damaged(mesh.name + ": materials");
}

void checkMesh(const Mesh& mesh, std::size_t materialCount)
{
    if (!std::ranges::all_of(mesh.positions, isFinite))
        throw notANumber(mesh.name + ": positions");
    checkFaces(mesh);
    checkMaterials(mesh, materialCount);
    if (mesh.normals)
        checkAttribute(mesh, *mesh.normals, "normals");
    for (const Attribute<Vec2>& uvSet : mesh.uvSets)
        checkAttribute(mesh, uvSet, "texture coordinates");
    if (mesh.colors)
        checkAttribute(mesh, *mesh.colors, "colors");
}

void checkMaterial(const Material& material, std::size_t textureCount)
{
    for (const auto* use : {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
                            &material.occlusionTexture, &material.emissiveTexture})
        if (*use && (*use)->texture >= textureCount)
            throw damaged(material.name + ": textures");
}

} // namespace

void checkVertexCount(std::uint64_t count, const ResourceLimits& limits)
{
    if (count > static_cast<std::uint64_t>(limits.maxSceneVertices))
        throw ConversionError::resourceLimit(filled("le modèle a plus de {} millions de sommets"_fr,
                                                    {std::to_string(limits.maxSceneVertices / 1'000'000)}));
}

void checkScene(const Scene& scene, const ResourceLimits& limits)
{
    for (const Material& material : scene.materials)
        checkMaterial(material, scene.textures.size());
    for (const Mesh& mesh : scene.meshes)
        checkMesh(mesh, scene.materials.size());
    std::uint64_t vertices = 0;
    std::uint64_t corners = 0;
    Indices depths;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const Node& node = scene.nodes[i];
        if (node.parent && *node.parent >= i)
            throw damaged(node.name + ": parent");
        depths.push_back(node.parent ? depths[*node.parent] + 1 : 0);
        if (depths.back() > deepestNode)
            throw ConversionError::resourceLimit("les éléments du modèle sont imbriqués trop profondément"_fr);
        if (!node.matrix().isFinite())
            throw notANumber(node.name + ": matrix");
        for (const Index mesh : node.meshes) {
            if (mesh >= scene.meshes.size())
                throw damaged(node.name + ": meshes");
            vertices += scene.meshes[mesh].positions.size();
            corners += scene.meshes[mesh].corners.size();
        }
    }
    checkVertexCount(vertices, limits);
    // A closed surface of triangles has six corners to a vertex; what repeats its vertices more is no model.
    checkVertexCount(corners / 24, limits);
    if (vertices == 0)
        throw ConversionError::unreadableSource("le fichier ne contient aucun modèle"_fr);
}

} // namespace nivex::scene
