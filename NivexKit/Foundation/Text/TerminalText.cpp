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

/// Where the printable ASCII that `text` has from `position` on ends.
std::size_t plainEnd(std::string_view text, std::size_t position)
{
    while (position < text.size() && text[position] >= ' ' && text[position] < 0x7F)
        ++position;
    return position;
}

/// `text` with `replace` appending something for each character that steers terminals.
template <class Replace>
std::string withoutSteering(std::string_view text, Replace replace)
{
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t end = plainEnd(text, position);
        shown.append(text, position, end - position);
        if ((position = end) == text.size())
            break;
        const char32_t scalar = nextScalar(text, position);
        if (steersTerminals(scalar))
            replace(shown, scalar);
        else
            appendScalar(shown, scalar);
    }
    return shown;
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
    return withoutSteering(text, [](std::string& shown, char32_t scalar) { appendScalar(shown, drawn(scalar)); });
}

std::string terminalJson(std::string json)
{
    if (plainEnd(json, 0) == json.size())
        return json;
    return withoutSteering(json, [](std::string& escaped, char32_t scalar) {
        char unit[8];
        std::snprintf(unit, sizeof unit, "\\u%04x", static_cast<unsigned>(scalar));
        escaped.append(unit);
    });
}

} // namespace nivex
