#include "NivexKit/Engines/Scene/SideFiles.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>

namespace nivex {
namespace {

namespace fs = std::filesystem;

using Names = std::vector<fs::path>;

constexpr std::size_t mebibyte = 1 << 20;
constexpr std::size_t mostNames = 4'000; // of one file

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view withoutBlanks(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view takeWord(std::string_view& line)
{
    line = withoutBlanks(line);
    const std::string_view word = line.substr(0, std::min(line.find_first_of(" \t\r"), line.size()));
    line = withoutBlanks(line.substr(word.size()));
    return word;
}

/// Calls `visit(keyword, rest)` for each line that begins with one of the letters.
template <class Visit>
void forEachStatement(std::string_view text, std::string_view firstLetters, Visit visit)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        while (!line.empty() && isBlank(line.front()))
            line.remove_prefix(1);
        if (!line.empty() && firstLetters.find(line.front()) != firstLetters.npos) {
            const std::string_view keyword = takeWord(line);
            visit(keyword, line);
        }
    }
}

Names namedInObj(std::string_view text)
{
    Names names;
    forEachStatement(text, "m", [&](std::string_view keyword, std::string_view rest) {
        if (keyword != "mtllib")
            return;
        // One name with blanks, or several names.
        names.push_back(sideFileOfPath(rest));
        while (!rest.empty())
            names.push_back(sideFileOfPath(takeWord(rest)));
    });
    return names;
}

/// Behind options and their values.
std::string_view fileOfTexture(std::string_view rest)
{
    while (rest.starts_with('-')) {
        const std::string_view option = takeWord(rest);
        const int values = option == "-s" || option == "-o" || option == "-t" ? 3 : option == "-mm" ? 2 : 1;
        for (int i = 0; i < values; ++i) {
            std::string_view after = rest;
            const std::string_view value = takeWord(after);
            float number = 0;
            const bool isNumber = std::from_chars(value.data(), value.data() + value.size(), number).ec == std::errc{};
            if (i > 0 && !isNumber)
                break; // the last values may be left out
            rest = after;
        }
    }
    return rest;
}

Names namedInMaterials(std::string_view text)
{
    Names names;
    forEachStatement(text, "mn", [&](std::string_view keyword, std::string_view rest) {
        if (keyword.starts_with("map_") || keyword == "norm")
            names.push_back(sideFileOfPath(fileOfTexture(rest)));
    });
    return names;
}

Names namedInPly(std::string_view text)
{
    Names names;
    forEachStatement(text.substr(0, text.find("end_header")), "c", [&](std::string_view, std::string_view rest) {
        if (takeWord(rest) == "TextureFile")
            names.push_back(sideFileOfPath(rest));
    });
    return names;
}

Names namedInGltf(std::string_view text)
{
    ByteReader container{std::as_bytes(std::span{text})};
    if (text.starts_with("glTF")) {
        container.skip(12);
        const std::uint32_t length = container.u32();
        container.skip(4);
        text = container.text(length);
    }
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    text = text.substr(0, text.find_last_not_of(std::string_view{" \0", 2}) + 1);
    Names names;
    const JsonValue root = parseJson(text);
    for (const std::string_view list : {"buffers", "images"}) {
        const JsonValue* values = root.object() ? root.object()->find(list) : nullptr;
        if (!values || !values->array())
            continue;
        for (const JsonValue& each : *values->array()) {
            const JsonValue* uri = each.object() ? each.object()->find("uri") : nullptr;
            if (uri && uri->string() && !uri->string()->starts_with("data:"))
                names.push_back(sideFileOfUri(*uri->string()));
        }
    }
    return names;
}

/// Text and binary files alike write the name of a property in front of its value.
Names namedInFbx(std::string_view text)
{
    constexpr std::string_view property = "RelativeFilename";
    Names names;
    for (std::size_t at = text.find(property); at != text.npos && names.size() < mostNames;
         at = text.find(property, at)) {
        at += property.size();
        if (text.substr(at).starts_with('S')) {
            ByteReader value{std::as_bytes(std::span{text.substr(at + 1)})};
            names.push_back(sideFileOfPath(value.text(value.u32())));
        } else if (const std::string_view value = text.substr(at, text.find('\n', at) - at);
                   value.starts_with(": \"")) {
            names.push_back(sideFileOfPath(withoutBlanks(value.substr(2))));
        }
    }
    return names;
}

Names namedInCollada(std::string_view text)
{
    constexpr std::string_view begin = "<init_from>";
    Names names;
    for (std::size_t at = text.find(begin); at != text.npos && names.size() < mostNames; at = text.find(begin, at)) {
        at += begin.size();
        const std::string_view value = withoutBlanks(text.substr(at, std::min(text.find('<', at), text.size()) - at));
        names.push_back(sideFileOfUri(value.starts_with("file://") ? value.substr(7) : value));
    }
    return names;
}

struct Walk {
    std::string_view format;
    std::size_t mostBytesRead; // lists and headers stand at the beginning
    Names (*names)(std::string_view text);
};

// clang-format off
constexpr Walk walks[] = {
    {"obj",  4 * mebibyte, namedInObj},
    {"mtl",  64 * mebibyte, namedInMaterials},
    {"ply",  mebibyte, namedInPly},
    {"gltf", 64 * mebibyte, namedInGltf},
    {"glb",  64 * mebibyte, namedInGltf},
    {"fbx",  64 * mebibyte, namedInFbx},
    {"dae",  64 * mebibyte, namedInCollada},
};
// clang-format on

std::optional<char> percentDecoded(std::string_view text)
{
    std::uint8_t value = 0;
    if (text.size() < 3 || text[0] != '%' ||
        std::from_chars(text.data() + 1, text.data() + 3, value, 16).ptr != text.data() + 3)
        return std::nullopt;
    return static_cast<char>(value);
}

} // namespace

std::string sideFileOfPath(std::string_view path)
{
    std::string name{path};
    if (name.size() > 1 && name.front() == '"' && name.back() == '"')
        name = name.substr(1, name.size() - 2);
    std::ranges::replace(name, '\\', '/');
    const bool isElsewhere = name.starts_with('/') || (name.size() > 2 && isAsciiLetter(name[0]) && name[1] == ':');
    if (isElsewhere)
        name.erase(0, name.find_last_of("/:") + 1);
    while (name.starts_with("./")) // and what is left of ".//name" is no path from the root
        name.erase(0, std::min(name.find_first_not_of('/', 1), name.size()));
    return name;
}

std::string sideFileOfUri(std::string_view uri)
{
    std::string path;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        const auto decoded = percentDecoded(uri.substr(i, 3));
        path += decoded.value_or(uri[i]);
        if (decoded)
            i += 2;
    }
    return sideFileOfPath(path);
}

std::string uriOfFile(std::string_view name)
{
    constexpr std::string_view plain = "-._~!$&'()*+,;=@";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string uri;
    for (const char each : name) {
        const auto byte = static_cast<unsigned char>(each);
        if (isAsciiLetter(each) || isAsciiDigit(each) || plain.find(each) != plain.npos)
            uri += each;
        else
            uri.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return uri;
}

std::vector<fs::path> sideFilesNamedIn(const fs::path& file, std::string_view format)
{
    const auto walk = std::ranges::find(walks, format, &Walk::format);
    const auto source = walk == std::end(walks) ? std::nullopt : FileSource::open(file);
    if (!source)
        return {};
    const std::vector<std::byte> bytes = source->read(0, walk->mostBytesRead);
    try {
        Names names = walk->names({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        std::erase_if(names, [](const fs::path& name) { return name.empty(); });
        return names;
    } catch (const JsonError&) {
        return {};
    }
}

} // namespace nivex
