#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// What the readers and the writers share about lines and tags.
namespace nivex::Subtitles {

inline constexpr std::size_t cuesPerPulse = 4096;
inline constexpr std::string_view arrow = "-->";

/// True for a line of spaces and tabs alone, which ends a cue.
constexpr bool isBlank(std::string_view line)
{
    return std::all_of(line.begin(), line.end(), [](char each) { return each == ' ' || each == '\t'; });
}

/// The length of the simple tag (<i>, </i>, <b>, </b>, <u>, </u>) at the start of `text`; 0 when there is none. Its
/// letter stands before its last character.
constexpr std::size_t simpleTagLength(std::string_view text)
{
    const std::size_t slash = text.size() > 1 && text[1] == '/' ? 1 : 0;
    if (text.size() < 3 + slash || text[0] != '<' || text[2 + slash] != '>')
        return 0;
    const char name = text[1 + slash];
    return name == 'i' || name == 'b' || name == 'u' ? 3 + slash : 0;
}

} // namespace nivex::Subtitles
