#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {

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

/// The chunk at an offset; none where the file ends before the chunk does.
std::optional<PngChunk> pngChunkAt(const ByteSource& file, std::uint64_t offset);

/// The data of a chunk; none where the checksum is not theirs.
std::optional<std::vector<std::byte>> checkedData(const ByteSource& file, const PngChunk& chunk);

/// A chunk as it stands in a file.
std::string pngChunk(std::string_view type, std::string_view data);

} // namespace nivex::image
