#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"

#include <cstdint>
#include <optional>

namespace nivex {

/// What the first chunk of a WebP file tells: the header of all that follows ("VP8X"), or that of the only picture.
struct WebpHeader {
    std::uint32_t width; // at least 1
    std::uint32_t height;
    bool hasAlpha = false;
    bool isAnimated = false;
    bool hasMetadata = false; // Exif or XMP
};

/// The header in a chunk of the file; none where it is malformed or of another kind.
std::optional<WebpHeader> webpHeader(const ByteSource& file, const RiffChunk& chunk);

} // namespace nivex
