#pragma once

#include <string>
#include <string_view>

namespace nivex {

/// Bytes in base64 (RFC 4648, section 4), padded.
std::string base64(std::string_view bytes);

} // namespace nivex
