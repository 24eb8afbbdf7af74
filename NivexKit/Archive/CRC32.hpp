#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nivex {

/// The CRC-32 of ZIP and gzip: reflected polynomial 0xEDB88320.
class CRC32 {
public:
    /// The checksum of `data`; with `previous` given, of the bytes that gave it followed by `data`.
    static std::uint32_t checksum(std::span<const std::byte> data, std::uint32_t previous = 0);
};

} // namespace nivex
