#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"

#include <cstddef>
#include <span>
#include <vector>

namespace nivex::scene {

/// The vertices of a mesh for formats in which all that a vertex has goes with its position: one vertex for each
/// combination that occurs. Where every attribute is of the vertices, these stay as they are.
class UnifiedVertices {
public:
    /// Tells apart what the attributes named by their corners tell apart: each of `corners` is `Attribute::corners` of
    /// one, and those that are empty count as of the vertices. The mesh outlives this.
    UnifiedVertices(const Mesh& mesh, std::span<const Indices* const> corners);

    /// Those of all attributes of a mesh.
    static UnifiedVertices ofAll(const Mesh& mesh);

    std::size_t count() const { return isIdentity_ ? mesh_.positions.size() : firstCorners_.size(); }

    /// The vertex at a place in `Mesh::corners`.
    Index vertex(std::size_t corner) const { return isIdentity_ ? mesh_.corners[corner] : vertices_[corner]; }

    /// The index of a vertex's position.
    Index position(std::size_t vertex) const
    {
        return isIdentity_ ? static_cast<Index>(vertex) : mesh_.corners[firstCorners_[vertex]];
    }

    /// What an attribute says of a vertex.
    template <class T>
    const T& value(const Attribute<T>& attribute, std::size_t vertex) const
    {
        return attribute.values[attribute.isOfVertices() ? position(vertex) : attribute.corners[firstCorners_[vertex]]];
    }

private:
    const Mesh& mesh_;
    bool isIdentity_;
    Indices vertices_;     // of each corner
    Indices firstCorners_; // of each vertex, where it occurs first
};

} // namespace nivex::scene
