#include "NivexWorkers/Scene/Ply/PlyWriter.hpp"

#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Model/UnifiedVertices.hpp"
#include "NivexWorkers/Scene/Text/SceneFile.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <limits>

namespace nivex::scene {
namespace {

/// A vertex has one colour here, so that a vertex with several becomes several. Normals of corners follow from the
/// faces and are left out rather than cut the surface apart; texture coordinates of corners go with the faces.
UnifiedVertices verticesOf(const Mesh& mesh)
{
    std::array<const Indices*, 1> corners{};
    const std::size_t count = mesh.colors ? 1 : 0;
    if (mesh.colors)
        corners[0] = &mesh.colors->corners;
    return {mesh, std::span{corners}.first(count)};
}

/// What the tables of the file have; all meshes share them.
struct Columns {
    bool normals = true;
    bool colors = false;
    bool uvsOfVertices = true;
    bool uvsOfFaces = true;

    static Columns of(const std::vector<ShownMesh>& shown)
    {
        Columns columns;
        for (const ShownMesh& each : shown) {
            const Mesh& mesh = *each.mesh;
            columns.normals &= mesh.normals && mesh.normals->isOfVertices();
            columns.colors |= mesh.colors.has_value();
            columns.uvsOfFaces &= !mesh.uvSets.empty();
            columns.uvsOfVertices &= !mesh.uvSets.empty() && mesh.uvSets.front().isOfVertices();
        }
        columns.uvsOfFaces &= !columns.uvsOfVertices;
        return columns;
    }
};

struct Counts {
    std::uint64_t vertices = 0;
    std::uint64_t faces = 0;
    std::uint64_t edges = 0;
    std::size_t largestFace = 0;

    void add(const Mesh& mesh, const UnifiedVertices& unified)
    {
        vertices += unified.count();
        forEachFace(mesh, [this](std::size_t, std::size_t, std::size_t size) {
            (size == 2 ? edges : faces) += size == 1 ? 0 : 1;
            largestFace = std::max(largestFace, size);
        });
    }
};

void writeHeader(const Columns& columns, const Counts& counts, SceneFile& file)
{
    const auto property = [&](std::initializer_list<std::string_view> names, std::string_view type) {
        for (const std::string_view name : names)
            file.text("property ").text(type).text(" ").text(name).text("\n");
    };
    file.text("ply\nformat binary_little_endian 1.0\ncomment NIVEX\nelement vertex ")
        .number(counts.vertices)
        .text("\n");
    property({"x", "y", "z"}, "float");
    if (columns.normals)
        property({"nx", "ny", "nz"}, "float");
    if (columns.uvsOfVertices)
        property({"s", "t"}, "float");
    if (columns.colors)
        property({"red", "green", "blue", "alpha"}, "uchar");
    if (counts.faces > 0) {
        file.text("element face ").number(counts.faces).text("\n");
        property({"vertex_indices"}, counts.largestFace > 255 ? "list int int" : "list uchar int");
        if (columns.uvsOfFaces)
            property({"texcoord"}, 2 * counts.largestFace > 255 ? "list int float" : "list uchar float");
    }
    if (counts.edges > 0) {
        file.text("element edge ").number(counts.edges).text("\n");
        property({"vertex1", "vertex2"}, "int");
    }
    file.text("end_header\n");
}

void writeVertices(const ShownMesh& shown, const UnifiedVertices& unified, const Columns& columns, SceneFile& file)
{
    const Mesh& mesh = *shown.mesh;
    const bool isMoved = shown.toWorld != Matrix4{};
    for (std::size_t i = 0; i < unified.count(); ++i) {
        const Vec3 position = mesh.positions[unified.position(i)];
        file.bytes(isMoved ? shown.toWorld.point(position) : position);
        if (columns.normals) {
            const Vec3 normal = unified.value(*mesh.normals, i);
            file.bytes(isMoved ? shown.toWorld.normal(normal) : normal);
        }
        if (columns.uvsOfVertices)
            file.bytes(unified.value(mesh.uvSets.front(), i));
        if (columns.colors) {
            const Vec4 color = mesh.colors ? srgbFromLinear(unified.value(*mesh.colors, i)) : Vec4{1, 1, 1, 1};
            for (const float part : {color.x, color.y, color.z, color.w})
                file.bytes(quantized<std::uint8_t>(part));
        }
    }
}

void writeLength(std::size_t length, bool isByte, SceneFile& file)
{
    if (isByte)
        file.bytes(static_cast<std::uint8_t>(length));
    else
        file.bytes(static_cast<std::int32_t>(length));
}

/// The faces of one mesh whose vertices begin at `firstVertex` of the file.
class FaceWriter {
public:
    FaceWriter(const ShownMesh& shown, const UnifiedVertices& unified, std::size_t firstVertex, SceneFile& file)
        : mesh_{*shown.mesh}, mirrors_{shown.toWorld.mirrors()}, unified_{unified}, firstVertex_{firstVertex}, file_{
                                                                                                                   file}
    {
    }

    void faces(const Columns& columns, std::size_t largestFace)
    {
        forEachFace(mesh_, [&](std::size_t, std::size_t first, std::size_t size) {
            if (size < 3)
                return;
            writeLength(size, largestFace <= 255, file_);
            for (std::size_t i = 0; i < size; ++i)
                vertex(cornerOf(first, size, i));
            if (!columns.uvsOfFaces)
                return;
            writeLength(2 * size, 2 * largestFace <= 255, file_);
            const Attribute<Vec2>& uvs = mesh_.uvSets.front();
            for (std::size_t i = 0; i < size; ++i) {
                const std::size_t corner = cornerOf(first, size, i);
                file_.bytes(uvs.values[uvs.isOfVertices() ? mesh_.corners[corner] : uvs.corners[corner]]);
            }
        });
    }

    void edges()
    {
        forEachFace(mesh_, [&](std::size_t, std::size_t first, std::size_t size) {
            if (size == 2) {
                vertex(first);
                vertex(first + 1);
            }
        });
    }

private:
    /// What is mirrored turns the other way round.
    std::size_t cornerOf(std::size_t first, std::size_t size, std::size_t i) const
    {
        return mirrors_ ? first + (size - i) % size : first + i;
    }

    void vertex(std::size_t corner) { file_.bytes(static_cast<std::int32_t>(firstVertex_ + unified_.vertex(corner))); }

    const Mesh& mesh_;
    bool mirrors_;
    const UnifiedVertices& unified_;
    std::size_t firstVertex_;
    SceneFile& file_;
};

} // namespace

void writePly(const Scene& scene, SceneOutput& output)
{
    const std::vector<ShownMesh> shown = shownMeshes(scene);
    const Columns columns = Columns::of(shown);
    std::deque<UnifiedVertices> unified;
    Counts counts;
    for (const ShownMesh& each : shown)
        counts.add(*each.mesh, unified.emplace_back(verticesOf(*each.mesh)));
    if (counts.vertices > std::numeric_limits<std::int32_t>::max())
        throw ConversionError::resourceLimit("le modèle a trop de faces"_fr);

    SceneFile file{output.location()};
    writeHeader(columns, counts, file);
    for (std::size_t i = 0; i < shown.size(); ++i)
        writeVertices(shown[i], unified[i], columns, file);
    const auto forEachMesh = [&](auto write) {
        std::size_t firstVertex = 0;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            write(FaceWriter{shown[i], unified[i], firstVertex, file});
            firstVertex += unified[i].count();
        }
    };
    forEachMesh([&](FaceWriter faces) { faces.faces(columns, counts.largestFace); });
    forEachMesh([](FaceWriter faces) { faces.edges(); });
    file.finish();
}

} // namespace nivex::scene
