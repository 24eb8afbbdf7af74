#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace nivex {

/// True when the bytes are well-formed UTF-8 (Unicode 15, table 3-7: no surrogates, no over-long forms).
bool isValidUtf8(std::string_view text);

/// `bytes` with every ill-formed sequence replaced by U+FFFD, so that the result is always UTF-8.
std::string validUtf8(std::string_view bytes);

/// A file name or path as it can be shown: its bytes, ill-formed sequences replaced.
std::string shownPath(const std::filesystem::path& path);

/// True for the Unicode categories Cc and Cf.
bool isControl(char32_t scalar);

/// Decodes the scalar at `position` and moves past it; an ill-formed byte yields U+FFFD and is passed alone.
char32_t nextScalar(std::string_view text, std::size_t& position);

/// Appends a scalar in UTF-8.
void appendScalar(std::string& text, char32_t scalar);

/// How many user-perceived characters (extended grapheme clusters, UAX #29) a UTF-8 text has.
std::size_t characterCount(std::string_view text);

/// `text` cut at a character boundary so that at most `maxBytes` bytes remain.
std::string_view cutToBytes(std::string_view text, std::size_t maxBytes);

/// Without white space and line breaks (Unicode White_Space, and U+200B) at both ends.
std::string_view trimmed(std::string_view text);

/// In lower case, by the default rules of Unicode; ill-formed bytes stay as they are.
std::string lowercased(std::string_view text);

/// True when `text` contains `part`, compared by full case folding, composed and decomposed characters being the same.
/// An empty `part` is contained in every text. `locale` ("tr_TR.UTF-8") matters where a language has case rules of its
/// own: Turkish and Azeri tell the dotted i from the dotless one.
bool containsIgnoringCase(std::string_view text, std::string_view part, std::string_view locale = {});

} // namespace nivex
