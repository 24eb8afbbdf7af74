#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace nivex {

/// The longest technical note, in bytes.
inline constexpr std::size_t maxNoteBytes = 200;

/// `text`, which a library or the contents of a file may have had a hand in, as a technical note can be carried and
/// shown: one line of well-formed UTF-8 without control characters, cut to `maxNoteBytes`. Lines are joined by "; ".
std::string technicalNote(std::string_view text);

} // namespace nivex
