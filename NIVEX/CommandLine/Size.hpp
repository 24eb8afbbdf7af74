#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nivex::commandline {

/// Reads a size: bytes, or a number with KB, MB or GB in any case, decimal ("2MB" is 2,000,000). None for anything
/// else, for a negative size and for one beyond 64 bits.
std::optional<std::int64_t> parseSize(std::string_view text);

} // namespace nivex::commandline
