#pragma once

#include <cstdint>
#include <string>

namespace nivex {

/// A number of bytes as a person reads it: decimal units and at most one decimal place ("4,3 Go", "512 ko", "7 o").
/// `bytes` is not negative.
std::string shownByteCount(std::int64_t bytes);

} // namespace nivex
