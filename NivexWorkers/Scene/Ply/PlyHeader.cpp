#include "NivexWorkers/Scene/Ply/PlyHeader.hpp"

#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <iterator>

namespace nivex::scene {
namespace {

struct TypeName {
    std::string_view name;
    PlyType type;
};

// clang-format off
constexpr TypeName typeNames[] = {
    {"char",   PlyType::int8},    {"int8",    PlyType::int8},
    {"uchar",  PlyType::uint8},   {"uint8",   PlyType::uint8},
    {"short",  PlyType::int16},   {"int16",   PlyType::int16},
    {"ushort", PlyType::uint16},  {"uint16",  PlyType::uint16},
    {"int",    PlyType::int32},   {"int32",   PlyType::int32},
    {"uint",   PlyType::uint32},  {"uint32",  PlyType::uint32},
    {"float",  PlyType::float32}, {"float32", PlyType::float32},
    {"double", PlyType::float64}, {"float64", PlyType::float64},
};
// clang-format on

constexpr std::size_t mostElements = 64;
constexpr std::size_t mostProperties = 1'024; // of one element

ConversionError invalidHeader(std::string_view line)
{
    return ConversionError::unreadableSource("l'en-tête PLY est invalide"_fr).because(line);
}

std::optional<PlyType> typeNamed(std::string_view name)
{
    const auto found = std::ranges::find(typeNames, name, &TypeName::name);
    return found == std::end(typeNames) ? std::nullopt : std::optional{found->type};
}

PlyEncoding encodingNamed(std::string_view name, std::string_view line)
{
    if (name == "ascii")
        return PlyEncoding::text;
    if (name == "binary_little_endian")
        return PlyEncoding::littleEndian;
    if (name == "binary_big_endian")
        return PlyEncoding::bigEndian;
    throw invalidHeader(line);
}

PlyProperty property(Fields& fields, std::string_view line)
{
    std::string_view word = fields.word();
    std::optional<PlyType> length;
    if (word == "list") {
        length = typeNamed(fields.word());
        if (!length || *length >= PlyType::float32)
            throw invalidHeader(line);
        word = fields.word();
    }
    const auto type = typeNamed(word);
    if (!type)
        throw invalidHeader(line);
    return {.name = std::string{fields.word()}, .type = *type, .length = length};
}

PlyElement element(Fields& fields, std::string_view line)
{
    PlyElement element{.name = std::string{fields.word()}, .count = 0, .properties = {}};
    std::int64_t count = 0;
    if (!fields.number(count) || count < 0)
        throw invalidHeader(line);
    element.count = static_cast<std::uint64_t>(count);
    return element;
}

void checkCounts(const PlyHeader& header, std::uint64_t fileSize)
{
    std::uint64_t left = fileSize - header.size;
    for (const PlyElement& each : header.elements) {
        // As text every number takes a digit and a separator.
        const std::uint64_t row = header.encoding == PlyEncoding::text
                                      ? std::max<std::size_t>(each.properties.size(), 1)
                                      : std::max<std::uint64_t>(each.smallestRow(), 1);
        if (each.count > left / row + 1)
            throw ConversionError::unreadableSource("le fichier s'arrête avant la fin"_fr).because("PLY: " + each.name);
        left -= std::min(left, each.count * row);
    }
}

} // namespace

std::size_t sizeOf(PlyType type)
{
    switch (type) {
    case PlyType::int8:
    case PlyType::uint8:
        return 1;
    case PlyType::int16:
    case PlyType::uint16:
        return 2;
    case PlyType::float64:
        return 8;
    default:
        return 4;
    }
}

std::uint64_t PlyElement::smallestRow() const
{
    std::uint64_t size = 0;
    for (const PlyProperty& each : properties)
        size += sizeOf(each.length.value_or(each.type));
    return size;
}

PlyHeader PlyHeader::read(const SceneInput& input)
{
    PlyHeader header;
    LineSource lines{input};
    std::string_view line;
    if (!lines.next(line) || Fields{line}.rest() != "ply")
        throw invalidHeader("magic");
    while (lines.next(line)) {
        Fields fields{line};
        const std::string_view keyword = fields.word();
        if (keyword == "format") {
            header.encoding = encodingNamed(fields.word(), line);
        } else if (keyword == "comment" && fields.word() == "TextureFile") {
            header.textureFile = fields.rest();
        } else if (keyword == "element" && header.elements.size() < mostElements) {
            header.elements.push_back(element(fields, line));
        } else if (keyword == "property") {
            if (header.elements.empty() || header.elements.back().properties.size() == mostProperties)
                throw invalidHeader(line);
            header.elements.back().properties.push_back(property(fields, line));
        } else if (keyword == "end_header") {
            header.size = lines.position();
            checkCounts(header, input.bytes.size());
            return header;
        } else if (keyword != "comment" && keyword != "obj_info" && !keyword.empty()) {
            throw invalidHeader(line);
        }
    }
    throw invalidHeader("end_header");
}

} // namespace nivex::scene
