#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// Bytes in base64 (RFC 4648, section 4), padded.
std::string base64(std::string_view bytes);

/// The bytes that base64 stands for; blanks and line breaks in between are passed over, and padding may be missing.
/// None for anything else.
std::optional<std::string> fromBase64(std::string_view text);

} // namespace nivex
