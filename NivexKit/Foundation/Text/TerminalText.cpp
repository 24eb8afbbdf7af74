#include "NivexKit/Foundation/Text/TerminalText.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cstdio>

namespace nivex {
namespace {

/// Unicode draws the 32 control characters of ASCII from here on, and DEL by itself.
constexpr char32_t pictures = 0x2400;
constexpr char32_t pictureOfDelete = 0x2421;
constexpr char32_t replacement = 0xFFFD;

struct Range {
    char32_t first;
    char32_t last;
};

// clang-format off
constexpr Range steering[] = {
    {0x0000, 0x001F},
    {0x007F, 0x009F},
    {0x061C, 0x061C}, // Arabic letter mark
    {0x200E, 0x200F}, // left-to-right and right-to-left marks
    {0x2028, 0x202E}, // separators of lines and paragraphs, embeddings and overrides of direction
    {0x2066, 0x206F}, // isolates of direction, and forms of it that are out of use
};
// clang-format on

bool isPlain(std::string_view text)
{
    return std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte < 0x7F; });
}

char32_t drawn(char32_t scalar)
{
    if (scalar < 0x20)
        return pictures + scalar;
    return scalar == 0x7F ? pictureOfDelete : replacement;
}

} // namespace

bool steersTerminals(char32_t scalar)
{
    return std::ranges::any_of(steering,
                               [&](const Range& range) { return scalar >= range.first && scalar <= range.last; });
}

std::string terminalText(std::string_view text)
{
    std::string shown;
    if (isPlain(text))
        return shown.append(text);
    for (std::size_t position = 0; position < text.size();) {
        const char32_t scalar = nextScalar(text, position);
        appendScalar(shown, steersTerminals(scalar) ? drawn(scalar) : scalar);
    }
    return shown;
}

std::string terminalJson(std::string json)
{
    if (isPlain(json))
        return json;
    std::string escaped;
    escaped.reserve(json.size());
    for (std::size_t position = 0; position < json.size();) {
        const std::size_t start = position;
        const char32_t scalar = nextScalar(json, position);
        if (!steersTerminals(scalar)) {
            escaped.append(json, start, position - start);
            continue;
        }
        char unit[8];
        std::snprintf(unit, sizeof unit, "\\u%04x", static_cast<unsigned>(scalar));
        escaped.append(unit);
    }
    return escaped;
}

} // namespace nivex
