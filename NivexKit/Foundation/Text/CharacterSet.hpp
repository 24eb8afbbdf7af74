#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// Finds the character set of text that is neither ASCII nor Unicode, by statistics and by what its letters would make
/// of words. `sample` is a bounded part of the text that begins and ends between two characters.
///
/// returns  a name for `converted`; none when the bytes make sense in no character set
/// threads  any
std::optional<std::string> guessedCharacterSet(std::string_view sample);

/// `text` in UTF-8; bytes that mean nothing in the character set become U+FFFD. None for an unknown name.
std::optional<std::string> converted(std::string_view text, const std::string& characterSet);

} // namespace nivex
