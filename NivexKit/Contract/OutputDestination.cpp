#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <charconv>

namespace nivex {
namespace {

constexpr std::string_view fileScheme = "file://";

bool staysInUrl(char character)
{
    return isAsciiLetter(character) || isAsciiDigit(character) ||
           std::string_view{"-._~/"}.find(character) != std::string_view::npos;
}

// A path is bytes, a JSON string is Unicode: percent-encoding carries every folder name through.
std::string fileUrl(const std::filesystem::path& location)
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::string url{fileScheme};
    for (const char character : location.native()) {
        if (staysInUrl(character)) {
            url += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        url.append({'%', digits[byte >> 4], digits[byte & 0xF]});
    }
    return url;
}

std::filesystem::path pathOfFileUrl(std::string_view url)
{
    std::string path;
    for (std::size_t i = fileScheme.size(); i < url.size(); ++i) {
        if (url[i] != '%') {
            path += url[i];
            continue;
        }
        unsigned value = 0;
        const std::string_view pair = url.substr(i + 1, 2);
        const auto [end, failure] = std::from_chars(pair.data(), pair.data() + pair.size(), value, 16);
        if (failure != std::errc{} || end != pair.data() + 2 || value == 0)
            throw JsonError{"output destination: malformed location"};
        path += static_cast<char>(value);
        i += 2;
    }
    return path;
}

std::filesystem::path locationFromJson(const JsonValue& json)
{
    const JsonValue* payload = json.object() ? json.object()->find("_0") : nullptr;
    if (!payload || !payload->string())
        throw JsonError{"output destination: folder without a location"};
    const std::string& location = *payload->string();
    return location.starts_with(fileScheme) ? pathOfFileUrl(location) : std::filesystem::path{location};
}

} // namespace

JsonValue toJson(const OutputDestination& destination)
{
    if (const auto* folder = std::get_if<DestinationFolder>(&destination))
        return JsonObject{{"folder", JsonObject{{"_0", fileUrl(folder->location)}}}};
    return JsonObject{{"sameFolderAsSource", JsonObject{}}};
}

OutputDestination outputDestinationFromJson(const JsonValue& json)
{
    if (!json.object() || json.object()->members().size() != 1)
        throw JsonError{"Invalid number of keys found, expected one."};
    const auto& [name, payload] = json.object()->members().front();
    if (name == "sameFolderAsSource")
        return SameFolderAsSource{};
    if (name == "folder")
        return DestinationFolder{locationFromJson(payload)};
    throw JsonError{"output destination: unknown case " + name};
}

} // namespace nivex
