#include "NivexWorkers/Scene/Gltf/GltfWriter.hpp"

#include "NivexWorkers/Scene/Gltf/GltfBuffer.hpp"
#include "NivexWorkers/Scene/Gltf/GltfFile.hpp"
#include "NivexWorkers/Scene/Gltf/GltfMaterialWriter.hpp"
#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Model/Triangulation.hpp"
#include "NivexWorkers/Scene/Model/UnifiedVertices.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

namespace nivex::scene {
namespace {

using Use = GltfBuffer::Use;

// Codes of the format.
constexpr std::int64_t unsignedShort = 5123;
constexpr std::int64_t unsignedInteger = 5125;
constexpr std::int64_t floatingPoint = 5126;
constexpr std::int64_t pointsMode = 0;
constexpr std::int64_t linesMode = 1;
constexpr std::int64_t trianglesMode = 4;

JsonArray numbers(std::initializer_list<double> values) { return JsonArray(values.begin(), values.end()); }

/// The smallest and largest coordinates, which the format asks for.
JsonObject boundsOf(const std::vector<Vec3>& positions)
{
    Vec3 least = positions.front();
    Vec3 most = positions.front();
    for (const Vec3 each : positions) {
        least = {std::min(least.x, each.x), std::min(least.y, each.y), std::min(least.z, each.z)};
        most = {std::max(most.x, each.x), std::max(most.y, each.y), std::max(most.z, each.z)};
    }
    return {{"min", numbers({least.x, least.y, least.z})}, {"max", numbers({most.x, most.y, most.z})}};
}

/// How many UV sets the textures of a mesh's materials ask for.
std::size_t uvSetsUsed(const Mesh& mesh, const std::vector<Material>& materials)
{
    std::size_t sets = 0;
    for (const MaterialRun& run : mesh.materials) {
        if (!run.material)
            continue;
        const Material& material = materials[*run.material];
        for (const auto* use : {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
                                &material.occlusionTexture, &material.emissiveTexture})
            if (*use)
                sets = std::max<std::size_t>(sets, (*use)->uvSet + 1);
    }
    return sets;
}

struct Color16 {
    std::array<std::uint16_t, 4> parts;
};

/// Writes one mesh: its vertices once, and a primitive for each material and kind of face.
class MeshWriter {
public:
    MeshWriter(const Mesh& mesh, const std::vector<Material>& materials, GltfBuffer& buffer)
        : mesh_{mesh}, buffer_{buffer}, unified_{UnifiedVertices::ofAll(mesh)}, uvSetsUsed_{uvSetsUsed(mesh, materials)}
    {
    }

    JsonArray primitives()
    {
        if (mesh_.positions.empty())
            return {};
        const JsonObject attributes = this->attributes();
        JsonArray primitives;
        if (mesh_.isCloud()) {
            primitives.push_back(JsonObject{{"attributes", attributes}, {"mode", pointsMode}});
            return primitives;
        }
        const Triangulation triangles{mesh_};
        for (const auto& [material, faces] : facesByMaterial())
            for (const std::int64_t mode : {trianglesMode, linesMode, pointsMode}) {
                const Indices corners = mode == trianglesMode ? cornersOfTriangles(triangles, faces)
                                                              : cornersOf(mode == linesMode ? 2 : 1, faces);
                if (corners.empty())
                    continue;
                JsonObject primitive{{"attributes", attributes}, {"indices", indices(corners)}, {"mode", mode}};
                if (material)
                    primitive.set("material", std::int64_t{*material});
                primitives.push_back(std::move(primitive));
            }
        return primitives;
    }

private:
    struct Range {
        std::size_t begin;
        std::size_t end;
    };
    using Ranges = std::vector<Range>;

    JsonObject attributes()
    {
        const std::vector<Vec3> positions =
            gathered<Vec3>([&](std::size_t i) { return mesh_.positions[unified_.position(i)]; });
        JsonObject attributes{{"POSITION", vertices<Vec3>(positions, floatingPoint, "VEC3", boundsOf(positions))}};
        if (mesh_.normals)
            attributes.set("NORMAL", vertices<Vec3>(gathered<Vec3>([&](std::size_t i) {
                                                        return normalized(unified_.value(*mesh_.normals, i));
                                                    }),
                                                    floatingPoint, "VEC3"));
        for (std::size_t set = 0; set < mesh_.uvSets.size(); ++set)
            attributes.set("TEXCOORD_" + std::to_string(set),
                           vertices<Vec2>(gathered<Vec2>([&](std::size_t i) {
                                              const Vec2 uv = unified_.value(mesh_.uvSets[set], i);
                                              return Vec2{uv.x, 1 - uv.y};
                                          }),
                                          floatingPoint, "VEC2"));
        // What a texture of the material takes its points from must be there, if only at one point.
        for (std::size_t set = mesh_.uvSets.size(); set < uvSetsUsed_; ++set)
            attributes.set("TEXCOORD_" + std::to_string(set),
                           vertices<Vec2>(std::vector<Vec2>(unified_.count()), floatingPoint, "VEC2"));
        if (mesh_.colors)
            attributes.set("COLOR_0", vertices<Color16>(gathered<Color16>([&](std::size_t i) {
                                                            const Vec4 color = unified_.value(*mesh_.colors, i);
                                                            return Color16{{quantized<std::uint16_t>(color.x),
                                                                            quantized<std::uint16_t>(color.y),
                                                                            quantized<std::uint16_t>(color.z),
                                                                            quantized<std::uint16_t>(color.w)}};
                                                        }),
                                                        unsignedShort, "VEC4", {{"normalized", true}}));
        return attributes;
    }

    template <class Element, class Value>
    std::vector<Element> gathered(Value value) const
    {
        std::vector<Element> elements;
        elements.reserve(unified_.count());
        for (std::size_t i = 0; i < unified_.count(); ++i)
            elements.push_back(value(i));
        return elements;
    }

    template <class Element>
    std::int64_t vertices(const std::vector<Element>& elements, std::int64_t component, std::string_view type,
                          const JsonObject& more = {})
    {
        return buffer_.addAccessor(std::span<const Element>{elements}, Use::vertices, component, type, more);
    }

    /// In the order of the materials, those without one first.
    std::map<std::optional<Index>, Ranges> facesByMaterial() const
    {
        std::map<std::optional<Index>, Ranges> ranges;
        forEachMaterialRun(mesh_, [&](const MaterialRun& run, std::size_t end) {
            ranges[run.material].push_back({run.firstFace, end});
        });
        return ranges;
    }

    Indices cornersOfTriangles(const Triangulation& triangles, const Ranges& faces) const
    {
        Indices corners;
        for (const Range& range : faces)
            for (std::size_t i = triangles.firstTriangle(range.begin); i < triangles.firstTriangle(range.end); ++i)
                for (std::size_t j = 0; j < 3; ++j)
                    corners.push_back(unified_.vertex(triangles.corner(i, j)));
        return corners;
    }

    /// Of the faces with so many corners, of which triangles know nothing.
    Indices cornersOf(std::size_t wanted, const Ranges& faces) const
    {
        Indices corners;
        if (mesh_.faceSizes.empty())
            return corners;
        auto range = faces.begin();
        forEachFace(mesh_, [&](std::size_t face, std::size_t first, std::size_t size) {
            while (range != faces.end() && face >= range->end)
                ++range;
            if (size == wanted && range != faces.end() && face >= range->begin)
                for (std::size_t i = 0; i < size; ++i)
                    corners.push_back(unified_.vertex(first + i));
        });
        return corners;
    }

    std::int64_t indices(const Indices& corners)
    {
        // The largest number of a type is kept for other purposes.
        if (unified_.count() >= std::numeric_limits<std::uint16_t>::max())
            return buffer_.addAccessor(std::span{corners}, Use::indices, unsignedInteger, "SCALAR");
        std::vector<std::uint16_t> small;
        small.reserve(corners.size());
        for (const Index each : corners)
            small.push_back(static_cast<std::uint16_t>(each));
        return buffer_.addAccessor(std::span<const std::uint16_t>{small}, Use::indices, unsignedShort, "SCALAR");
    }

    const Mesh& mesh_;
    GltfBuffer& buffer_;
    UnifiedVertices unified_;
    std::size_t uvSetsUsed_;
};

template <std::size_t count>
JsonArray elementsOf(const std::array<double, count>& values)
{
    return JsonArray(values.begin(), values.end());
}

class SceneWriter {
public:
    SceneWriter(const Scene& scene, GltfMaterialWriter::Place pictures, SceneOutput& output)
        : scene_{scene}, materials_{scene, pictures, buffer_, output}
    {
    }

    /// The JSON, save for the buffer.
    JsonObject root()
    {
        JsonArray nodes = this->nodes();
        JsonObject root{{"asset", JsonObject{{"version", "2.0"}, {"generator", "NIVEX"}}}};
        root.set("scene", 0);
        root.set("scenes", JsonArray{JsonObject{{"nodes", roots_}}});
        root.set("nodes", std::move(nodes));
        if (!meshes_.empty())
            root.set("meshes", meshes_);
        materials_.addTo(root);
        if (!buffer_.views().empty()) {
            root.set("accessors", buffer_.accessors());
            root.set("bufferViews", buffer_.views());
        }
        return root;
    }

    const std::string& binary() const { return buffer_.bytes(); }

private:
    JsonArray nodes()
    {
        JsonArray nodes;
        std::vector<JsonArray> children(scene_.nodes.size());
        for (std::size_t i = 0; i < scene_.nodes.size(); ++i)
            if (scene_.nodes[i].parent)
                children[*scene_.nodes[i].parent].push_back(static_cast<std::int64_t>(i));
            else
                roots_.push_back(static_cast<std::int64_t>(i));
        for (std::size_t i = 0; i < scene_.nodes.size(); ++i)
            nodes.push_back(node(scene_.nodes[i], std::move(children[i])));
        addFrame(nodes);
        return nodes;
    }

    JsonObject node(const Node& node, JsonArray children)
    {
        JsonObject json;
        if (!node.name.empty())
            json.set("name", node.name);
        if (const Matrix4* matrix = std::get_if<Matrix4>(&node.transform)) {
            if (*matrix != Matrix4{})
                json.set("matrix", elementsOf(matrix->columns()));
        } else {
            const Placement& placement = std::get<Placement>(node.transform);
            if (placement.translation != Placement{}.translation)
                json.set("translation", elementsOf(placement.translation));
            if (placement.rotation != Placement{}.rotation)
                json.set("rotation", elementsOf(placement.rotation));
            if (placement.scale != Placement{}.scale)
                json.set("scale", elementsOf(placement.scale));
        }
        if (const auto mesh = meshOf(node))
            json.set("mesh", *mesh);
        if (!children.empty())
            json.set("children", std::move(children));
        return json;
    }

    /// Several meshes at one node become one with more primitives; nodes that show the same share it.
    std::optional<std::int64_t> meshOf(const Node& node)
    {
        if (node.meshes.empty())
            return std::nullopt;
        const auto [known, isNew] = byMeshes_.try_emplace(node.meshes);
        if (isNew) {
            JsonArray primitives;
            for (const Index each : node.meshes) {
                const auto [ofMesh, isFirst] = primitives_.try_emplace(each);
                if (isFirst)
                    ofMesh->second = MeshWriter{scene_.meshes[each], scene_.materials, buffer_}.primitives();
                primitives.insert(primitives.end(), ofMesh->second.begin(), ofMesh->second.end());
            }
            if (!primitives.empty()) {
                known->second = static_cast<std::int64_t>(meshes_.size());
                JsonObject mesh;
                if (const std::string& name = scene_.meshes[node.meshes.front()].name; !name.empty())
                    mesh.set("name", name);
                mesh.set("primitives", std::move(primitives));
                meshes_.push_back(std::move(mesh));
            }
        }
        return known->second;
    }

    /// The format measures in metres with y up; what is measured otherwise is put below a node that turns it so.
    void addFrame(JsonArray& nodes)
    {
        if (!scene_.frame || *scene_.frame == Frame{})
            return;
        const double scale = scene_.frame->metersPerUnit;
        JsonObject frame;
        if (scene_.frame->up == UpAxis::z)
            frame.set("rotation", numbers({-std::sqrt(0.5), 0, 0, std::sqrt(0.5)}));
        if (scale != 1)
            frame.set("scale", numbers({scale, scale, scale}));
        frame.set("children", std::exchange(roots_, {static_cast<std::int64_t>(nodes.size())}));
        nodes.push_back(std::move(frame));
    }

    const Scene& scene_;
    GltfBuffer buffer_;
    GltfMaterialWriter materials_;
    JsonArray meshes_;
    JsonArray roots_;
    std::map<std::vector<Index>, std::optional<std::int64_t>> byMeshes_;
    std::map<Index, JsonArray> primitives_;
};

JsonObject bufferOf(std::string_view bytes) { return {{"byteLength", static_cast<std::int64_t>(bytes.size())}}; }

} // namespace

void writeGlb(const Scene& scene, SceneOutput& output)
{
    SceneWriter writer{scene, GltfMaterialWriter::Place::inBuffer, output};
    JsonObject root = writer.root();
    if (!writer.binary().empty())
        root.set("buffers", JsonArray{bufferOf(writer.binary())});
    writeGltfContainer(output.location(), root, writer.binary());
}

void writeGltf(const Scene& scene, SceneOutput& output)
{
    SceneWriter writer{scene, GltfMaterialWriter::Place::beside, output};
    JsonObject root = writer.root();
    if (!writer.binary().empty()) {
        const auto location = output.further({}, "bin");
        JsonObject buffer = bufferOf(writer.binary());
        buffer.set("uri", uriOfFile(location.filename().native()));
        root.set("buffers", JsonArray{std::move(buffer)});
        writeNewFile(location, writer.binary());
    }
    writeNewFile(output.location(), writeJson(root));
}

} // namespace nivex::scene
