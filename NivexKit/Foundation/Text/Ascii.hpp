#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Letters of ASCII, whatever the machine's language: file structures, keywords and extensions know no others.
namespace nivex {

constexpr bool isAsciiSpace(char letter) { return letter == ' ' || (letter >= '\t' && letter <= '\r'); }
constexpr bool isAsciiDigit(char letter) { return letter >= '0' && letter <= '9'; }
constexpr bool isAsciiLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

/// The letter in lower case; everything else, bytes beyond ASCII too, as it is.
constexpr char asciiLowercased(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

inline std::string asciiLowercased(std::string_view text)
{
    std::string lowered{text};
    for (char& each : lowered)
        each = asciiLowercased(each);
    return lowered;
}

/// Compare ASCII letters without regard to case.
constexpr bool equalsIgnoringCase(std::string_view text, std::string_view other)
{
    return std::ranges::equal(text, other, [](char a, char b) { return asciiLowercased(a) == asciiLowercased(b); });
}
constexpr bool startsIgnoringCase(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}
constexpr bool endsIgnoringCase(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && equalsIgnoringCase(text.substr(text.size() - suffix.size()), suffix);
}

} // namespace nivex
