#include "NivexWorkers/Scene/Gltf/GltfRepacking.hpp"

#include "NivexWorkers/Scene/Gltf/GltfDocument.hpp"
#include "NivexWorkers/Scene/Gltf/GltfFile.hpp"
#include "NivexWorkers/Scene/Model/TextureSet.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <set>

namespace nivex::scene {
namespace {

std::string_view textOfBytes(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

JsonObject without(const JsonObject& object, std::string_view name)
{
    JsonObject left;
    for (const auto& [each, value] : object.members())
        if (each != name)
            left.set(each, value);
    return left;
}

/// All buffers of a file one behind the other, each at a multiple of four, and the views that lie in them.
class JoinedBuffers {
public:
    explicit JoinedBuffers(const GltfDocument& document)
    {
        std::vector<std::size_t> begins;
        for (std::size_t i = 0; i < document.list("buffers").size(); ++i) {
            bytes_.resize((bytes_.size() + 3) / 4 * 4);
            begins.push_back(bytes_.size());
            bytes_ += textOfBytes(document.buffer(static_cast<std::int64_t>(i)));
        }
        for (std::size_t i = 0; i < document.list("bufferViews").size(); ++i) {
            JsonObject view = document.object("bufferViews", static_cast<std::int64_t>(i));
            document.bufferView(static_cast<std::int64_t>(i)); // throws where it leads out of its buffer
            const auto buffer = static_cast<std::size_t>(integerOf(view, "buffer").value_or(0));
            const std::int64_t offset = integerOf(view, "byteOffset").value_or(0);
            view.set("buffer", 0);
            view.set("byteOffset", static_cast<std::int64_t>(begins[buffer]) + offset);
            views_.push_back(std::move(view));
        }
    }

    std::int64_t add(std::span<const std::byte> bytes)
    {
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
        views_.push_back(JsonObject{{"buffer", 0},
                                    {"byteOffset", static_cast<std::int64_t>(bytes_.size())},
                                    {"byteLength", static_cast<std::int64_t>(bytes.size())}});
        bytes_ += textOfBytes(bytes);
        return static_cast<std::int64_t>(views_.size()) - 1;
    }

    const std::string& bytes() const { return bytes_; }

    /// Enters the buffer, which a URI names unless it is empty, and the views.
    void enter(JsonObject& root, const std::string& uri) const
    {
        if (views_.empty() && bytes_.empty())
            return;
        JsonObject buffer{{"byteLength", static_cast<std::int64_t>(bytes_.size())}};
        if (!uri.empty())
            buffer.set("uri", uri);
        root.set("buffers", JsonArray{std::move(buffer)});
        if (!views_.empty())
            root.set("bufferViews", views_);
    }

private:
    std::string bytes_;
    JsonArray views_;
};

std::string mimeTypeOf(const std::string& extension) { return "image/" + (extension == "jpg" ? "jpeg" : extension); }

/// Buffers that an extension fills need not be there as such.
void refuseOtherBuffers(const GltfDocument& document)
{
    for (const JsonValue& each : document.list("bufferViews"))
        if (const JsonObject* extensions = each.object() ? objectOf(*each.object(), "extensions") : nullptr;
            extensions && !extensions->members().empty())
            throw ConversionError::unsupported(
                filled("ce modèle demande l'extension glTF « {} »"_fr, {extensions->members().front().first}));
}

} // namespace

void packGltf(const SceneInput& input, SceneOutput& output)
{
    const GltfDocument document{input};
    refuseOtherBuffers(document);
    JoinedBuffers buffers{document};
    JsonArray images;
    for (std::size_t i = 0; i < document.list("images").size(); ++i) {
        JsonObject image = document.object("images", static_cast<std::int64_t>(i));
        const std::string uri{textOf(image, "uri")};
        const auto bytes = uri.empty() ? std::nullopt : document.resource(uri);
        const std::string extension = bytes ? pictureExtension(*bytes, {}) : std::string{};
        if (!uri.empty() && !bytes)
            output.warn(filled("La texture « {} » est introuvable : le modèle est converti sans elle."_fr,
                               {sideFileOfUri(uri)}));
        if (!extension.empty()) {
            image = without(image, "uri");
            image.set("mimeType", mimeTypeOf(extension));
            image.set("bufferView", buffers.add(*bytes));
        }
        images.push_back(std::move(image));
    }
    JsonObject root = document.root();
    if (!images.empty())
        root.set("images", std::move(images));
    buffers.enter(root, {});
    writeGltfContainer(output.location(), root, buffers.bytes());
}

void unpackGlb(const SceneInput& input, SceneOutput& output)
{
    const GltfDocument document{input};
    refuseOtherBuffers(document);
    const JoinedBuffers buffers{document};
    JsonObject root = document.root();
    JsonArray images;
    for (std::size_t i = 0; i < document.list("images").size(); ++i) {
        JsonObject image = document.object("images", static_cast<std::int64_t>(i));
        if (const auto view = integerOf(image, "bufferView")) {
            const auto bytes = document.bufferView(*view);
            const std::string extension = pictureExtension(bytes, {});
            if (!extension.empty()) {
                const std::filesystem::path name{textOf(image, "name")};
                const auto location = output.further(name.empty() ? "texture" : name.stem().native(), extension);
                writeNewFile(location, textOfBytes(bytes));
                image = without(without(image, "bufferView"), "mimeType");
                image.set("uri", uriOfFile(location.filename().native()));
            }
        }
        images.push_back(std::move(image));
    }
    if (!images.empty())
        root.set("images", std::move(images));
    if (!buffers.bytes().empty()) {
        const auto location = output.further({}, "bin");
        writeNewFile(location, buffers.bytes());
        buffers.enter(root, uriOfFile(location.filename().native()));
    }
    writeNewFile(output.location(), writeJson(root));
}

} // namespace nivex::scene
