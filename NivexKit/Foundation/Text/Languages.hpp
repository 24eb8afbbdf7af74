#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// The converters' names of the character sets of one byte a letter that languages of this table were written in.
std::span<const std::string_view> languageSets();

/// How well a text, decoded from such a set, reads as the language among those written in it that it fits best.
struct LanguageFit {
    double letters = 0; // share of the letters beyond ASCII that the language has
    double words = 0;   // share of its words that are among the language's most frequent
    int evidence = 0;   // letters beyond ASCII, and frequent words
    bool isLatin = true;
};
LanguageFit languageFit(std::string_view text, std::string_view set);

} // namespace nivex
