#include "NivexWorkers/Scene/Model/UnifiedVertices.hpp"

#include <algorithm>
#include <limits>

namespace nivex::scene {
namespace {

constexpr Index none = std::numeric_limits<Index>::max();

// How many vertices of one position are looked at for an equal one; behind that a vertex is written twice, which is
// right too. So a tip where a million faces meet does not take a million steps for each.
constexpr int mostLooks = 64;

std::vector<const Indices*> cornersOf(const Mesh& mesh)
{
    std::vector<const Indices*> corners;
    if (mesh.normals)
        corners.push_back(&mesh.normals->corners);
    for (const Attribute<Vec2>& uvSet : mesh.uvSets)
        corners.push_back(&uvSet.corners);
    if (mesh.colors)
        corners.push_back(&mesh.colors->corners);
    return corners;
}

} // namespace

UnifiedVertices UnifiedVertices::ofAll(const Mesh& mesh) { return {mesh, cornersOf(mesh)}; }

UnifiedVertices::UnifiedVertices(const Mesh& mesh, std::span<const Indices* const> corners) : mesh_{mesh}
{
    std::vector<const Indices*> distinct;
    std::ranges::copy_if(corners, std::back_inserter(distinct), [](const Indices* each) { return !each->empty(); });
    isIdentity_ = distinct.empty();
    if (isIdentity_)
        return;
    const auto areEqual = [&](std::size_t a, std::size_t b) {
        return std::ranges::all_of(distinct, [&](const Indices* each) { return (*each)[a] == (*each)[b]; });
    };
    Indices newest(mesh.positions.size(), none); // of each position, the vertex made last
    Indices older;                               // of each vertex, the one of the same position made before it
    vertices_.reserve(mesh.corners.size());
    firstCorners_.reserve(mesh.positions.size());
    older.reserve(mesh.positions.size());
    for (std::size_t corner = 0; corner < mesh.corners.size(); ++corner) {
        Index& head = newest[mesh.corners[corner]];
        Index vertex = head;
        for (int looks = 0; vertex != none && !areEqual(firstCorners_[vertex], corner); ++looks)
            vertex = looks < mostLooks ? older[vertex] : none;
        if (vertex == none) {
            vertex = static_cast<Index>(firstCorners_.size());
            firstCorners_.push_back(static_cast<Index>(corner));
            older.push_back(head);
            head = vertex;
        }
        vertices_.push_back(vertex);
    }
}

} // namespace nivex::scene
