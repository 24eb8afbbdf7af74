#pragma once

#include <optional>
#include <string>

namespace nivex {

/// The text of a foreign file as UTF-8, its character set found out from the bytes: UTF-8 with and without a mark,
/// UTF-16 and UTF-32 in both byte orders, and by statistics and what languages look like the Windows, ISO 8859, DOS and
/// Macintosh sets of European languages, KOI8-R, Shift-JIS, GB 18030, Big5 and EUC-KR. The mark is not part of the
/// text.
///
/// bytes    the whole file; a file in UTF-8, as most are, is moved into the result
/// returns  none when the bytes are not text in any of them
/// threads  any
std::optional<std::string> decodedText(std::string bytes);

} // namespace nivex
