#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"

#include <cstddef>

namespace nivex::scene {

/// The faces of a mesh cut into triangles, for formats that have no others. A triangle is three places in
/// `Mesh::corners`, so that whatever belongs to a corner stays with it.
class Triangulation {
public:
    /// Cuts every face of three or more corners, leaving out points and lines. Triangles stay as they are; a polygon
    /// that folds inward is cut along its inside. The mesh outlives this.
    explicit Triangulation(const Mesh& mesh);

    std::size_t triangleCount() const { return isIdentity_ ? mesh_.corners.size() / 3 : corners_.size() / 3; }

    /// The place in `Mesh::corners` of a triangle's first, second or third corner.
    std::size_t corner(std::size_t triangle, std::size_t which) const
    {
        return isIdentity_ ? 3 * triangle + which : corners_[3 * triangle + which];
    }

    /// How many triangles stand before those of a face.
    std::size_t firstTriangle(std::size_t face) const { return isIdentity_ ? face : firstTriangles_[face]; }

private:
    const Mesh& mesh_;
    bool isIdentity_;
    Indices corners_;
    Indices firstTriangles_; // of each face, and the number of all of them
};

/// The direction that a face looks in, of length 1; up where it has no area.
Vec3 faceNormal(const Mesh& mesh, std::size_t firstCorner, std::size_t size);

} // namespace nivex::scene
