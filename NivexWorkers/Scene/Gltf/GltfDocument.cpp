#include "NivexWorkers/Scene/Gltf/GltfDocument.hpp"

#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "NivexKit/Foundation/Bytes/Base64.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace nivex::scene {
namespace {

constexpr std::uint32_t containerMagic = 0x46546C67; // "glTF"
constexpr std::uint32_t jsonChunk = 0x4E4F534A;
constexpr std::uint32_t binaryChunk = 0x004E4942;
constexpr std::size_t longestJson = 512 << 20;
constexpr std::size_t longestShownName = 60; // bytes

/// The name of a file as a person is shown it: on one line, short, whatever it is.
std::string shownName(std::string_view uri)
{
    const auto isPlain = [](char each) {
        constexpr std::string_view signs = " ._-()'";
        return isAsciiLetter(each) || isAsciiDigit(each) || signs.find(each) != signs.npos ||
               static_cast<unsigned char>(each) >= 0x80;
    };
    std::string name = validUtf8(cutToBytes(sideFileOfUri(uri), longestShownName));
    std::ranges::replace_if(name, std::not_fn(isPlain), '_');
    return name;
}

/// A number that is no index and no length leads nowhere, as -1 does.
std::optional<std::int64_t> integer(const JsonValue& value)
{
    const auto number = value.number();
    if (!number)
        return std::nullopt;
    const bool isWhole = *number == std::floor(*number) && std::abs(*number) <= 9e15;
    return isWhole ? static_cast<std::int64_t>(*number) : -1;
}

std::size_t componentSize(GltfComponent component)
{
    switch (component) {
    case GltfComponent::byte:
    case GltfComponent::unsignedByte:
        return 1;
    case GltfComponent::shortInteger:
    case GltfComponent::unsignedShort:
        return 2;
    default:
        return 4;
    }
}

std::size_t componentsOf(std::string_view type)
{
    constexpr std::pair<std::string_view, std::size_t> types[] = {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4},
                                                                  {"MAT2", 4},   {"MAT3", 9}, {"MAT4", 16}};
    for (const auto& [name, count] : types)
        if (name == type)
            return count;
    throw GltfDocument::damaged("accessor type");
}

/// A number as it is stored, or as the part of 1 that it stands for.
double component(ByteReader& reader, GltfComponent type, bool isNormalized)
{
    const auto part = [isNormalized](auto value) {
        constexpr double most = std::numeric_limits<decltype(value)>::max();
        return isNormalized ? std::max(value / most, -1.0) : static_cast<double>(value);
    };
    switch (type) {
    case GltfComponent::byte:
        return part(static_cast<std::int8_t>(reader.u8()));
    case GltfComponent::unsignedByte:
        return part(reader.u8());
    case GltfComponent::shortInteger:
        return part(static_cast<std::int16_t>(reader.u16()));
    case GltfComponent::unsignedShort:
        return part(reader.u16());
    case GltfComponent::unsignedInteger:
        return reader.u32();
    default:
        return std::bit_cast<float>(reader.u32());
    }
}

} // namespace

std::optional<std::int64_t> integerOf(const JsonObject& object, std::string_view name)
{
    const JsonValue* value = object.find(name);
    return value ? integer(*value) : std::nullopt;
}

std::optional<double> numberOf(const JsonObject& object, std::string_view name)
{
    const JsonValue* value = object.find(name);
    return value ? value->number() : std::nullopt;
}

std::string_view textOf(const JsonObject& object, std::string_view name)
{
    const JsonValue* value = object.find(name);
    return value && value->string() ? std::string_view{*value->string()} : std::string_view{};
}

const JsonObject* objectOf(const JsonObject& object, std::string_view name)
{
    const JsonValue* value = object.find(name);
    return value ? value->object() : nullptr;
}

std::span<const JsonValue> arrayOf(const JsonObject& object, std::string_view name)
{
    const JsonValue* value = object.find(name);
    return value && value->array() ? std::span<const JsonValue>{*value->array()} : std::span<const JsonValue>{};
}

ConversionError GltfDocument::damaged(std::string_view cause)
{
    return ConversionError::unreadableSource("les données du modèle sont endommagées"_fr)
        .because("glTF: " + std::string{cause});
}

GltfDocument::GltfDocument(const SceneInput& input) : input_{input}
{
    std::array<std::byte, 4> head{};
    const bool isContainer = input.bytes.read(0, head) == 4 && ByteReader{head}.u32() == containerMagic;
    container_ = input.bytes.read(0, input.bytes.size());
    std::span<const std::byte> json = container_;
    if (isContainer) {
        readContainer();
        ByteReader reader{container_, damaged("container")};
        reader.seek(12);
        const std::uint32_t length = reader.u32();
        reader.expect(jsonChunk);
        json = reader.bytes(length);
    }
    if (json.size() > longestJson)
        throw ConversionError::resourceLimit("le texte du fichier est trop volumineux"_fr);
    std::string_view text{reinterpret_cast<const char*>(json.data()), json.size()};
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    try {
        // Containers pad the text, some with zeros.
        text = text.substr(0, text.find_last_not_of(std::string_view{" \0", 2}) + 1);
        JsonValue value = parseJson(text);
        if (!value.object())
            throw JsonError{"no object"};
        root_ = *value.object();
    } catch (const JsonError& error) {
        throw ConversionError::unreadableSource("JSON invalide"_fr).because(error.what());
    }
    const JsonObject* asset = objectOf(root_, "asset");
    if (!asset || !textOf(*asset, "version").starts_with("2."))
        throw ConversionError::unsupported("seule la version 2 du format glTF est lue"_fr)
            .because(asset ? textOf(*asset, "version") : "no asset");
}

/// Finds the bytes behind the JSON.
void GltfDocument::readContainer()
{
    ByteReader reader{container_, damaged("container")};
    reader.skip(4);
    if (reader.u32() != 2)
        throw ConversionError::unsupported("seule la version 2 du format glTF est lue"_fr);
    if (reader.u32() > container_.size())
        throw ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr);
    reader.skip(reader.u32() + std::size_t{4}); // the JSON, whose length does not count its kind
    if (reader.left() < 8)
        return;
    const std::uint32_t length = reader.u32();
    if (reader.u32() == binaryChunk)
        binary_ = reader.bytes(length);
}

std::span<const JsonValue> GltfDocument::list(std::string_view name) const { return arrayOf(root_, name); }

const JsonObject& GltfDocument::object(std::string_view list, std::int64_t index) const
{
    const auto objects = this->list(list);
    if (index < 0 || static_cast<std::size_t>(index) >= objects.size() ||
        !objects[static_cast<std::size_t>(index)].object())
        throw damaged(std::string{list} + "[" + std::to_string(index) + "]");
    return *objects[static_cast<std::size_t>(index)].object();
}

std::optional<std::vector<std::byte>> GltfDocument::resource(std::string_view uri) const
{
    if (!uri.starts_with("data:"))
        return input_.sideFile(sideFileOfUri(uri));
    const std::size_t comma = uri.find(',');
    if (comma == uri.npos || !uri.substr(0, comma).ends_with(";base64"))
        throw damaged("data URI");
    auto decoded = fromBase64(uri.substr(comma + 1));
    if (!decoded)
        throw damaged("data URI");
    const auto bytes = std::as_bytes(std::span{*decoded});
    return std::vector<std::byte>{bytes.begin(), bytes.end()};
}

std::span<const std::byte> GltfDocument::buffer(std::int64_t index) const
{
    const JsonObject& buffer = object("buffers", index);
    const std::int64_t length = integerOf(buffer, "byteLength").value_or(-1);
    if (length < 0)
        throw damaged("byteLength");
    const std::string_view uri = textOf(buffer, "uri");
    std::span<const std::byte> bytes = binary_;
    if (!uri.empty() || index != 0) {
        auto loaded = buffers_.find(index);
        if (loaded == buffers_.end()) {
            auto resource = this->resource(uri);
            if (!resource)
                throw ConversionError::unreadableSource(filled(
                    "le fichier « {} », qui contient les données du modèle, est introuvable"_fr, {shownName(uri)}));
            loaded = buffers_.emplace(index, *std::move(resource)).first;
        }
        bytes = loaded->second;
    }
    if (bytes.size() < static_cast<std::uint64_t>(length))
        throw ConversionError::unreadableSource("les données du modèle s'arrêtent avant la fin"_fr)
            .because("glTF: buffer");
    return bytes.first(static_cast<std::size_t>(length));
}

std::span<const std::byte> GltfDocument::bufferView(std::int64_t index) const
{
    const JsonObject& view = object("bufferViews", index);
    const auto bytes = buffer(integerOf(view, "buffer").value_or(-1));
    ByteReader reader{bytes, damaged("bufferView")};
    reader.seek(static_cast<std::size_t>(integerOf(view, "byteOffset").value_or(0)));
    return reader.bytes(static_cast<std::size_t>(integerOf(view, "byteLength").value_or(-1)));
}

/// The bytes in which an accessor's elements lie, and how.
struct GltfDocument::Accessor {
    const JsonObject& json;
    GltfComponent component;
    std::size_t components;
    std::size_t count;
    bool isNormalized;
    std::span<const std::byte> bytes; // from the first element on; empty: all zero
    std::size_t stride;

    std::size_t elementSize() const { return components * componentSize(component); }

    /// Calls `visit(reader, element)` for each, with the reader at its first number.
    template <class Visit>
    void forEachElement(Visit visit) const
    {
        ByteReader reader{bytes, damaged("accessor")};
        for (std::size_t i = 0; i < count; ++i) {
            reader.seek(i * stride);
            visit(reader, i);
        }
    }
};

GltfDocument::Accessor GltfDocument::accessor(std::int64_t index) const
{
    const JsonObject& json = object("accessors", index);
    const std::int64_t component = integerOf(json, "componentType").value_or(0);
    const std::int64_t count = integerOf(json, "count").value_or(-1);
    const bool isKnown = component >= 5120 && component <= 5126 && component != 5124;
    if (!isKnown || count < 0 || count > std::numeric_limits<Index>::max())
        throw damaged("accessor");
    const JsonValue* normalized = json.find("normalized");
    Accessor accessor{.json = json,
                      .component = static_cast<GltfComponent>(component),
                      .components = componentsOf(textOf(json, "type")),
                      .count = static_cast<std::size_t>(count),
                      .isNormalized = normalized && normalized->boolean() && *normalized->boolean(),
                      .bytes = {},
                      .stride = 0};
    accessor.stride = accessor.elementSize();
    if (const auto view = integerOf(json, "bufferView")) {
        ByteReader reader{bufferView(*view), damaged("accessor")};
        reader.seek(static_cast<std::size_t>(integerOf(json, "byteOffset").value_or(0)));
        accessor.bytes = reader.bytes(reader.left());
        if (const auto stride = integerOf(object("bufferViews", *view), "byteStride"); stride && *stride > 0)
            accessor.stride = static_cast<std::size_t>(std::min<std::int64_t>(*stride, 1 << 20));
        if (accessor.count > 0 &&
            (accessor.bytes.size() < accessor.elementSize() ||
             (accessor.bytes.size() - accessor.elementSize()) / accessor.stride < accessor.count - 1))
            throw damaged("accessor");
    } else if (accessor.count * accessor.elementSize() > container_.size() * std::size_t{1'024}) {
        throw damaged("accessor"); // nothing but zeros, and more of them than any model has
    }
    return accessor;
}

std::uint64_t GltfDocument::count(std::int64_t index) const { return accessor(index).count; }

std::vector<float> GltfDocument::numbers(std::int64_t index, std::size_t components) const
{
    const Accessor accessor = this->accessor(index);
    if (accessor.components != components)
        throw damaged("accessor type");
    std::vector<float> numbers(accessor.count * components);
    const auto readElement = [&](ByteReader& reader, std::size_t element) {
        for (std::size_t i = 0; i < components; ++i)
            numbers[element * components + i] =
                static_cast<float>(component(reader, accessor.component, accessor.isNormalized));
    };
    if (accessor.bytes.empty())
        ; // all zero
    else if (accessor.component == GltfComponent::floatingPoint && accessor.stride == accessor.elementSize())
        std::memcpy(numbers.data(), accessor.bytes.data(),
                    std::min(accessor.bytes.size(), numbers.size() * sizeof(float)));
    else
        accessor.forEachElement([&](ByteReader& reader, std::size_t i) { readElement(reader, i); });

    const JsonObject* sparse = objectOf(accessor.json, "sparse");
    if (!sparse)
        return numbers;
    const JsonObject* places = objectOf(*sparse, "indices");
    const JsonObject* values = objectOf(*sparse, "values");
    if (!places || !values)
        throw damaged("sparse");
    const auto placeBytes = bufferView(integerOf(*places, "bufferView").value_or(-1));
    const auto valueBytes = bufferView(integerOf(*values, "bufferView").value_or(-1));
    ByteReader placeReader{placeBytes, damaged("sparse")};
    ByteReader valueReader{valueBytes, damaged("sparse")};
    placeReader.seek(static_cast<std::size_t>(integerOf(*places, "byteOffset").value_or(0)));
    valueReader.seek(static_cast<std::size_t>(integerOf(*values, "byteOffset").value_or(0)));
    const auto placeType = static_cast<GltfComponent>(integerOf(*places, "componentType").value_or(5125));
    for (std::int64_t i = 0; i < integerOf(*sparse, "count").value_or(0); ++i) {
        const double place = component(placeReader, placeType, false);
        if (!(place >= 0) || place >= static_cast<double>(accessor.count))
            throw damaged("sparse");
        readElement(valueReader, static_cast<std::size_t>(place));
    }
    return numbers;
}

std::vector<Vec4> GltfDocument::colors(std::int64_t index) const
{
    const std::size_t components = accessor(index).components;
    if (components != 3 && components != 4)
        throw damaged("accessor type");
    const std::vector<float> values = numbers(index, components);
    std::vector<Vec4> colors;
    colors.reserve(values.size() / components);
    for (std::size_t i = 0; i + components <= values.size(); i += components)
        colors.push_back({values[i], values[i + 1], values[i + 2], components == 4 ? values[i + 3] : 1});
    return colors;
}

Indices GltfDocument::indices(std::int64_t index) const
{
    const Accessor accessor = this->accessor(index);
    const bool isUnsigned = accessor.component == GltfComponent::unsignedByte ||
                            accessor.component == GltfComponent::unsignedShort ||
                            accessor.component == GltfComponent::unsignedInteger;
    if (accessor.components != 1 || !isUnsigned)
        throw damaged("accessor type");
    Indices indices(accessor.count);
    if (accessor.bytes.empty())
        ; // all zero
    else if (accessor.component == GltfComponent::unsignedInteger && accessor.stride == sizeof(Index))
        std::memcpy(indices.data(), accessor.bytes.data(),
                    std::min(accessor.bytes.size(), indices.size() * sizeof(Index)));
    else
        accessor.forEachElement([&](ByteReader& reader, std::size_t i) {
            indices[i] = static_cast<Index>(component(reader, accessor.component, false));
        });
    return indices;
}

} // namespace nivex::scene
