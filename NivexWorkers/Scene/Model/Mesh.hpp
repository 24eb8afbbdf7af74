#pragma once

#include "NivexWorkers/Scene/Model/Vector.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nivex::scene {

using Index = std::uint32_t;
using Indices = std::vector<Index>;

/// A property of the points of a surface. Without `corners` there is a value for each vertex; with them each corner of
/// a face names its value, so that a vertex may have another on each face that meets there.
template <class T>
struct Attribute {
    std::vector<T> values;
    Indices corners;

    bool isOfVertices() const { return corners.empty(); }
    bool operator==(const Attribute&) const = default;
};

/// The faces from `firstFace` on, until the next run begins, are of this material.
struct MaterialRun {
    std::size_t firstFace = 0;
    std::optional<Index> material;

    bool operator==(const MaterialRun&) const = default;
};

/// Polygons over a list of vertices. A face of two corners is a line, one of a single corner a point; a mesh without
/// any face is a cloud of points.
struct Mesh {
    std::string name;
    std::vector<Vec3> positions;
    Indices faceSizes; // corners of each face; empty where all are triangles
    Indices corners;   // of all faces one after another, as indices of positions
    std::optional<Attribute<Vec3>> normals;
    std::vector<Attribute<Vec2>> uvSets;   // from the lower left corner of a picture
    std::optional<Attribute<Vec4>> colors; // linear, with opacity
    std::vector<MaterialRun> materials;    // in rising order, the first at face 0; empty: no material

    bool isCloud() const { return corners.empty(); }
    std::size_t faceCount() const { return faceSizes.empty() ? corners.size() / 3 : faceSizes.size(); }
    bool operator==(const Mesh&) const = default;
};

/// Calls `visit(face, firstCorner, size)` for each face in turn.
template <class Visit>
void forEachFace(const Mesh& mesh, Visit visit)
{
    std::size_t corner = 0;
    for (std::size_t face = 0; face < mesh.faceCount(); ++face) {
        const std::size_t size = mesh.faceSizes.empty() ? 3 : mesh.faceSizes[face];
        visit(face, corner, size);
        corner += size;
    }
}

/// Calls `visit(run, endFace)` for each run of faces of one material: one without a material where the mesh has none.
template <class Visit>
void forEachMaterialRun(const Mesh& mesh, Visit visit)
{
    if (mesh.materials.empty())
        visit(MaterialRun{}, mesh.faceCount());
    for (std::size_t i = 0; i < mesh.materials.size(); ++i)
        visit(mesh.materials[i], i + 1 < mesh.materials.size() ? mesh.materials[i + 1].firstFace : mesh.faceCount());
}

/// Adds a face to a mesh whose faces are read one by one; `corners` have been added before.
inline void addFaceOf(std::size_t size, Mesh& mesh)
{
    if (mesh.faceSizes.empty() && size == 3)
        return;
    if (mesh.faceSizes.empty()) // the first that is no triangle
        mesh.faceSizes.assign((mesh.corners.size() - size) / 3, 3);
    mesh.faceSizes.push_back(static_cast<Index>(size));
}

/// Notes that the faces from `face` on are of a material, of whose runs those up to there are known.
inline void beginMaterial(std::optional<Index> material, std::size_t face, std::vector<MaterialRun>& runs)
{
    const std::optional<Index> before = runs.empty() ? std::nullopt : runs.back().material;
    if (material == before)
        return;
    if (runs.empty() && face > 0)
        runs.push_back({});
    runs.push_back({face, material});
}

} // namespace nivex::scene
