#include "NivexWorkers/Scene/Stl/StlWriter.hpp"

#include "NivexWorkers/Scene/Model/Triangulation.hpp"
#include "NivexWorkers/Scene/Text/SceneFile.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <array>
#include <cstdint>
#include <deque>
#include <limits>

namespace nivex::scene {
namespace {

constexpr std::uint16_t attribute = 0; // without a common meaning

Vec3 normalOf(Vec3 a, Vec3 b, Vec3 c)
{
    // In double precision: the sides of a facet far from the origin differ in few digits.
    const std::array<double, 3> u{double{b.x} - a.x, double{b.y} - a.y, double{b.z} - a.z};
    const std::array<double, 3> v{double{c.x} - a.x, double{c.y} - a.y, double{c.z} - a.z};
    const std::array<double, 3> n{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (!(length > 0))
        return {0, 0, 0};
    return {static_cast<float>(n[0] / length), static_cast<float>(n[1] / length), static_cast<float>(n[2] / length)};
}

void writeFacets(const ShownMesh& shown, const Triangulation& triangles, SceneFile& file)
{
    const Mesh& mesh = *shown.mesh;
    const bool isMoved = shown.toWorld != Matrix4{};
    const bool mirrors = shown.toWorld.mirrors();
    for (std::size_t i = 0; i < triangles.triangleCount(); ++i) {
        Vec3 at[3];
        for (std::size_t j = 0; j < 3; ++j) {
            at[j] = mesh.positions[mesh.corners[triangles.corner(i, j)]];
            if (isMoved)
                at[j] = shown.toWorld.point(at[j]);
        }
        if (mirrors)
            std::swap(at[1], at[2]);
        const std::array<Vec3, 4> facet{normalOf(at[0], at[1], at[2]), at[0], at[1], at[2]};
        file.bytes(facet).bytes(attribute);
    }
}

} // namespace

void writeStl(const Scene& scene, SceneOutput& output)
{
    std::deque<Triangulation> ofMeshes;
    for (const Mesh& mesh : scene.meshes)
        ofMeshes.emplace_back(mesh);
    const std::vector<ShownMesh> shown = shownMeshes(scene);
    const auto trianglesOf = [&](const ShownMesh& each) -> const Triangulation& {
        return ofMeshes[static_cast<std::size_t>(each.mesh - scene.meshes.data())];
    };
    std::uint64_t count = 0;
    for (const ShownMesh& each : shown)
        count += trianglesOf(each).triangleCount();
    if (count == 0)
        throw ConversionError::unsupported(
            "le modèle n'a que des points ou des lignes, et le STL ne garde que des faces"_fr);
    if (count > std::numeric_limits<std::uint32_t>::max())
        throw ConversionError::resourceLimit("le modèle a trop de faces"_fr);

    SceneFile file{output.location()};
    std::array<char, 80> header{"NIVEX binary STL"}; // not "solid", by which text is told
    file.bytes(header).bytes(static_cast<std::uint32_t>(count));
    for (const ShownMesh& each : shown)
        writeFacets(each, trianglesOf(each), file);
    file.finish();
}

} // namespace nivex::scene
