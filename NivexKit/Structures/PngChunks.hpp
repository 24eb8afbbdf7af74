#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// The eight bytes with which a PNG file begins, before its first chunk.
inline constexpr std::string_view pngSignature = "\x89PNG\r\n\x1A\n";

/// One chunk of a PNG file: length, type, data and checksum (PNG, Third Edition, W3C, 5.3).
struct PngChunk {
    std::uint64_t offset; // of its length
    std::size_t count;    // bytes of its data
    std::string type;

    std::uint64_t data() const { return offset + 8; }
    std::uint64_t end() const { return data() + count + 4; }
};

/// Hops over the chunks of a PNG file, or of one that stands at `start` inside another file. It ends where the file
/// ends before the next chunk does. Checksums are not looked at. The file outlives it.
class PngChunks {
public:
    explicit PngChunks(const ByteSource& file, std::uint64_t start = 0)
        : file_{file}, position_{start + pngSignature.size()}
    {
    }

    std::optional<PngChunk> next();

private:
    const ByteSource& file_;
    std::uint64_t position_;
};

} // namespace nivex
