#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace nivex::data {

/// The bytes in Base64 (RFC 4648), without line breaks.
std::string base64(std::span<const std::byte> bytes);

} // namespace nivex::data
