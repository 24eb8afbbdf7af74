#include "NivexWorkers/Scene/Usd/UsdWriter.hpp"

#include "NivexWorkers/Scene/Model/TextureFiles.hpp"
#include "NivexWorkers/Scene/Model/UniqueNames.hpp"
#include "NivexWorkers/Scene/Usd/UsdMaterials.hpp"
#include "NivexWorkers/Scene/Usd/UsdMesh.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstdint>
#include <map>

namespace nivex::scene {
namespace {

constexpr std::uint64_t mostRepeatedCorners = 1'000'000; // of meshes that are shown again
constexpr int packageAlignment = 64;                     // so that programs can use the bytes where they lie

class LayerWriter {
public:
    LayerWriter(const Scene& scene, const UsdTextureName& textureName) : scene_{scene}, textureName_{textureName} {}

    std::string write()
    {
        const Frame frame = scene_.frame.value_or(Frame{});
        std::string head =
            "#usda 1.0\n(\n    defaultPrim = \"Scene\"\n    metersPerUnit = " + UsdText::of(frame.metersPerUnit) +
            "\n    upAxis = \"" + (frame.up == UpAxis::z ? "Z" : "Y") + "\"\n)\n\n";
        text_.open("def Xform \"Scene\"");
        if (!scene_.materials.empty()) {
            text_.open("def Scope \"Materials\"");
            materialPaths_ = writeUsdMaterials(scene_, "/Scene/Materials", textureName_, text_);
            text_.close();
        }
        writeNodes();
        text_.close();
        return std::move(head) + text_.text();
    }

private:
    void writeNodes()
    {
        std::vector<std::vector<std::size_t>> children(scene_.nodes.size());
        std::vector<std::size_t> roots;
        for (std::size_t i = 0; i < scene_.nodes.size(); ++i)
            (scene_.nodes[i].parent ? children[*scene_.nodes[i].parent] : roots).push_back(i);

        // With a stack of our own: a chain of nodes may be longer than the machine's allows.
        struct Level {
            std::vector<std::size_t> nodes;
            std::size_t next = 0;
            std::string path;
            UniqueNames names;
        };
        std::vector<Level> levels;
        levels.push_back({.nodes = roots, .path = "/Scene"});
        levels.back().names.of("Materials");
        while (!levels.empty()) {
            Level& level = levels.back();
            if (level.next == level.nodes.size()) {
                levels.pop_back();
                if (!levels.empty())
                    text_.close();
                continue;
            }
            const std::size_t index = level.nodes[level.next++];
            const Node& node = scene_.nodes[index];
            const std::string name = level.names.of(UsdText::identifier(node.name.empty() ? "node" : node.name));
            std::string path = level.path + "/" + name;
            Level below{.nodes = children[index], .path = path};
            openNode(node, name);
            writeMeshes(node, path, below.names);
            levels.push_back(std::move(below));
        }
    }

    void openNode(const Node& node, const std::string& name)
    {
        std::string line = "def Xform \"" + name + "\"";
        if (!node.name.empty() && node.name != name)
            line += " (\n    displayName = " + UsdText::quoted(node.name) + "\n)";
        text_.open(line);
        const Matrix4 matrix = node.matrix();
        if (matrix == Matrix4{})
            return;
        std::string rows; // adding zero makes minus zero zero
        for (std::size_t column = 0; column < 4; ++column) {
            rows += column == 0 ? "( " : ", ";
            for (std::size_t row = 0; row < 4; ++row)
                rows += (row == 0 ? "(" : ", ") + UsdText::of(matrix.at(row, column) + 0.0);
            rows += ")";
        }
        text_.line("matrix4d xformOp:transform = " + rows + " )");
        text_.line("uniform token[] xformOpOrder = [\"xformOp:transform\"]");
    }

    /// A mesh that is shown again is written again, since not every reader follows references within a layer; large
    /// ones are referred to all the same.
    void writeMeshes(const Node& node, const std::string& path, UniqueNames& names)
    {
        for (const Index each : node.meshes) {
            const Mesh& mesh = scene_.meshes[each];
            if (mesh.positions.empty())
                continue;
            const std::string name = names.of(UsdText::identifier(mesh.name.empty() ? "mesh" : mesh.name));
            const auto [place, isNew] = meshPaths_.try_emplace(each, path + "/" + name);
            if (!isNew)
                repeatedCorners_ += mesh.corners.size();
            if (isNew || repeatedCorners_ <= mostRepeatedCorners) {
                writeUsdMesh(mesh, name, scene_.materials, materialPaths_, text_);
            } else {
                text_.open("def \"" + name + "\" (\n    prepend references = <" + place->second + ">\n)");
                text_.close();
            }
        }
    }

    const Scene& scene_;
    const UsdTextureName& textureName_;
    UsdText text_;
    std::vector<std::string> materialPaths_;
    std::map<Index, std::string> meshPaths_;
    std::uint64_t repeatedCorners_ = 0;
};

std::span<const std::byte> bytesOf(std::string_view text) { return std::as_bytes(std::span{text}); }

} // namespace

void writeUsd(const Scene& scene, SceneOutput& output)
{
    TextureFiles files{scene, output};
    const UsdTextureName textureName = [&files](Index texture) { return "./" + files.nameOf(texture); };
    writeNewFile(output.location(), LayerWriter{scene, textureName}.write());
}

void writeUsdz(const Scene& scene, SceneOutput& output)
{
    UniqueNames taken;
    std::map<Index, std::string> names;
    const UsdTextureName textureName = [&](Index index) {
        const auto [name, isNew] = names.try_emplace(index);
        const Texture& texture = scene.textures[index];
        const bool isTaken = texture.extension == "png" || texture.extension == "jpg";
        if (isNew && isTaken)
            name->second = "textures/" +
                           taken.of(UsdText::identifier(std::filesystem::path{texture.name}.stem().native())) + "." +
                           texture.extension;
        else if (isNew)
            output.warn(
                filled("La texture « {} » n'est pas reprise : ce format n'accepte que des images PNG et JPEG."_fr,
                       {texture.name}));
        return name->second;
    };
    ZipArchive::Writer package;
    package.add("scene.usda", bytesOf(LayerWriter{scene, textureName}.write()), false, packageAlignment);
    for (const auto& [index, name] : names)
        if (!name.empty())
            package.add(name, scene.textures[index].bytes, false, packageAlignment);
    const std::vector<std::byte> bytes = package.finish();
    writeNewFile(output.location(), {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

} // namespace nivex::scene
