#include "NivexWorkers/Scene/Gltf/GltfReader.hpp"

#include "NivexWorkers/Scene/Gltf/GltfDocument.hpp"
#include "NivexWorkers/Scene/Gltf/GltfMaterials.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

namespace nivex::scene {
namespace {

constexpr std::size_t mostUvSets = 8;

constexpr std::string_view understoodExtensions[] = {
    "KHR_texture_transform", "KHR_mesh_quantization", "KHR_lights_punctual", "EXT_texture_webp", "KHR_materials_",
};

/// Codes of the format for what the corners of a primitive make.
enum class GltfMode { points = 0, lines, lineLoop, lineStrip, triangles, triangleStrip, triangleFan };

/// Adds what `corners` make as faces of a mesh: triangles, lines, or single points.
void addFaces(GltfMode mode, const Indices& corners, Mesh& mesh)
{
    const auto add = [&mesh](std::initializer_list<Index> face) {
        mesh.corners.insert(mesh.corners.end(), face);
        addFaceOf(face.size(), mesh);
    };
    const std::size_t count = corners.size();
    switch (mode) {
    case GltfMode::points:
        for (const Index each : corners)
            add({each});
        break;
    case GltfMode::lines:
        for (std::size_t i = 0; i + 1 < count; i += 2)
            add({corners[i], corners[i + 1]});
        break;
    case GltfMode::lineLoop:
    case GltfMode::lineStrip:
        for (std::size_t i = 0; i + 1 < count; ++i)
            add({corners[i], corners[i + 1]});
        if (mode == GltfMode::lineLoop && count > 2)
            add({corners.back(), corners.front()});
        break;
    case GltfMode::triangles:
        if (mesh.faceSizes.empty()) {
            mesh.corners.insert(mesh.corners.end(), corners.begin(),
                                corners.end() - static_cast<std::ptrdiff_t>(count % 3));
            break;
        }
        for (std::size_t i = 0; i + 2 < count; i += 3)
            add({corners[i], corners[i + 1], corners[i + 2]});
        break;
    case GltfMode::triangleStrip:
        for (std::size_t i = 0; i + 2 < count; ++i)
            add({corners[i], corners[i + 1 + i % 2], corners[i + 2 - i % 2]});
        break;
    case GltfMode::triangleFan:
        for (std::size_t i = 1; i + 1 < count; ++i)
            add({corners[i], corners[i + 1], corners[0]});
        break;
    }
}

std::vector<Vec3> vectors(const std::vector<float>& numbers)
{
    std::vector<Vec3> vectors;
    vectors.reserve(numbers.size() / 3);
    for (std::size_t i = 0; i + 2 < numbers.size(); i += 3)
        vectors.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
    return vectors;
}

class GltfScene {
public:
    explicit GltfScene(const SceneInput& input) : input_{input}, document_{input} {}

    Scene read()
    {
        refuseOtherExtensions();
        readGltfMaterials(document_, input_, scene_);
        readNodes();
        scene_.frame = Frame{};
        scene_.hasRigOrAnimation |= !document_.list("animations").empty() || !document_.list("skins").empty();
        return std::move(scene_);
    }

private:
    static ConversionError notUnderstood(std::string_view extension)
    {
        return ConversionError::unsupported(
            filled("ce modèle demande l'extension glTF « {} »"_fr, {std::string{extension}}));
    }

    void refuseOtherExtensions() const
    {
        for (const JsonValue& each : arrayOf(document_.root(), "extensionsRequired")) {
            const std::string_view name = each.string() ? std::string_view{*each.string()} : std::string_view{};
            if (std::ranges::none_of(understoodExtensions,
                                     [&](std::string_view known) { return name.starts_with(known); }))
                throw notUnderstood(name);
        }
    }

    /// The nodes at the top of what is shown: those of the scene that the file names, of the first, or all that have no
    /// parent.
    std::vector<std::int64_t> roots() const
    {
        std::vector<std::int64_t> roots;
        if (!document_.list("scenes").empty()) {
            const JsonObject& shown = document_.object("scenes", integerOf(document_.root(), "scene").value_or(0));
            return integers(arrayOf(shown, "nodes"));
        }
        std::set<std::int64_t> children;
        const auto nodes = document_.list("nodes");
        for (const JsonValue& each : nodes)
            if (each.object())
                children.merge(asSet(integers(arrayOf(*each.object(), "children"))));
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(nodes.size()); ++i)
            if (!children.contains(i))
                roots.push_back(i);
        return roots;
    }

    static std::set<std::int64_t> asSet(const std::vector<std::int64_t>& values)
    {
        return {values.begin(), values.end()};
    }

    static std::vector<std::int64_t> integers(std::span<const JsonValue> values)
    {
        std::vector<std::int64_t> integers;
        for (const JsonValue& each : values)
            integers.push_back(each.integer() ? *each.integer() : -1);
        return integers;
    }

    void readNodes()
    {
        struct Pending {
            std::int64_t node;
            std::optional<Index> parent;
        };
        std::vector<Pending> pending;
        const auto put = [&](const std::vector<std::int64_t>& nodes, std::optional<Index> parent) {
            for (auto each = nodes.rbegin(); each != nodes.rend(); ++each)
                pending.push_back({*each, parent});
        };
        put(roots(), std::nullopt);
        std::set<std::int64_t> seen;
        while (!pending.empty()) {
            const Pending next = pending.back();
            pending.pop_back();
            // A node has one parent at most, so that the tree is one.
            if (!seen.insert(next.node).second)
                throw GltfDocument::damaged("a node is met twice");
            const JsonObject& json = document_.object("nodes", next.node);
            const auto index = static_cast<Index>(scene_.nodes.size());
            scene_.nodes.push_back(node(json, next.parent));
            put(integers(arrayOf(json, "children")), index);
        }
    }

    Node node(const JsonObject& json, std::optional<Index> parent)
    {
        Node node{
            .name = std::string{textOf(json, "name")}, .transform = transform(json), .parent = parent, .meshes = {}};
        if (const auto mesh = integerOf(json, "mesh"))
            node.meshes = meshes(*mesh);
        return node;
    }

    static std::variant<Placement, Matrix4> transform(const JsonObject& json)
    {
        if (arrayOf(json, "matrix").size() == 16) {
            std::array<double, 16> elements{};
            takeNumbers(json, "matrix", elements);
            Matrix4 matrix;
            for (std::size_t i = 0; i < 16; ++i)
                matrix.at(i % 4, i / 4) = elements[i];
            return matrix;
        }
        Placement placement;
        takeNumbers(json, "translation", placement.translation);
        takeNumbers(json, "rotation", placement.rotation);
        takeNumbers(json, "scale", placement.scale);
        return placement;
    }

    /// The meshes of the scene that a mesh of the file becomes: one for all primitives that share their vertices.
    const std::vector<Index>& meshes(std::int64_t index)
    {
        const auto [known, isNew] = meshes_.try_emplace(index);
        if (!isNew)
            return known->second;
        const JsonObject& json = document_.object("meshes", index);
        std::map<std::string, Index> byVertices;
        for (const JsonValue& each : arrayOf(json, "primitives")) {
            const JsonObject* primitive = each.object();
            const JsonObject* attributes = primitive ? objectOf(*primitive, "attributes") : nullptr;
            if (!attributes || !integerOf(*attributes, "POSITION"))
                continue;
            scene_.hasRigOrAnimation |= !arrayOf(*primitive, "targets").empty();
            const auto [mesh, isFirst] =
                byVertices.try_emplace(writeJson(*attributes), static_cast<Index>(scene_.meshes.size()));
            if (isFirst) {
                refuseCompression(*primitive, *attributes);
                scene_.meshes.push_back(vertices(*attributes));
                scene_.meshes.back().name = textOf(json, "name");
                known->second.push_back(mesh->second);
            }
            addPrimitive(*primitive, scene_.meshes[mesh->second]);
        }
        return known->second;
    }

    /// Vertices that an extension keeps elsewhere are not in the buffers.
    void refuseCompression(const JsonObject& primitive, const JsonObject& attributes) const
    {
        constexpr std::string_view compression = "KHR_draco_mesh_compression";
        const JsonObject* extensions = objectOf(primitive, "extensions");
        const JsonObject& positions = document_.object("accessors", *integerOf(attributes, "POSITION"));
        if (extensions && extensions->find(compression) && !positions.find("bufferView"))
            throw notUnderstood(compression);
    }

    Mesh vertices(const JsonObject& attributes)
    {
        Mesh mesh;
        const std::int64_t positions = *integerOf(attributes, "POSITION");
        vertexCount_ += document_.count(positions);
        checkVertexCount(vertexCount_, input_.limits);
        mesh.positions = vectors(document_.numbers(positions, 3));
        if (const auto normals = integerOf(attributes, "NORMAL"))
            mesh.normals = Attribute<Vec3>{vectors(document_.numbers(*normals, 3)), {}};
        for (std::size_t set = 0; set < mostUvSets; ++set) {
            const auto uvs = integerOf(attributes, "TEXCOORD_" + std::to_string(set));
            if (!uvs)
                break;
            const std::vector<float> numbers = document_.numbers(*uvs, 2);
            Attribute<Vec2>& attribute = mesh.uvSets.emplace_back();
            attribute.values.reserve(numbers.size() / 2);
            for (std::size_t i = 0; i + 1 < numbers.size(); i += 2)
                attribute.values.push_back({numbers[i], 1 - numbers[i + 1]});
        }
        if (const auto colors = integerOf(attributes, "COLOR_0"))
            mesh.colors = Attribute<Vec4>{document_.colors(*colors), {}};
        return mesh;
    }

    void addPrimitive(const JsonObject& json, Mesh& mesh)
    {
        const auto mode = integerOf(json, "mode").value_or(4);
        if (mode < 0 || mode > 6)
            throw GltfDocument::damaged("mode");
        const auto material = integerOf(json, "material");
        if (material && (*material < 0 || static_cast<std::size_t>(*material) >= scene_.materials.size()))
            throw GltfDocument::damaged("material");
        std::optional<Index> run;
        if (material)
            run = static_cast<Index>(*material);
        beginMaterial(run, mesh.faceCount(), mesh.materials);
        Indices corners;
        if (const auto indices = integerOf(json, "indices")) {
            corners = document_.indices(*indices);
        } else {
            corners.resize(mesh.positions.size());
            for (std::size_t i = 0; i < corners.size(); ++i)
                corners[i] = static_cast<Index>(i);
        }
        addFaces(static_cast<GltfMode>(mode), corners, mesh);
    }

    const SceneInput& input_;
    GltfDocument document_;
    Scene scene_;
    std::map<std::int64_t, std::vector<Index>> meshes_;
    std::uint64_t vertexCount_ = 0;
};

} // namespace

Scene readGltf(const SceneInput& input) { return GltfScene{input}.read(); }

} // namespace nivex::scene
