#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nivex {

/// A block of a GIF file: an image or an extension, with its sub-blocks (GIF89a, sections 20 to 26).
struct GifBlock {
    static constexpr std::uint8_t image = 0x2C;
    static constexpr std::uint8_t extension = 0x21;

    std::uint64_t offset;
    std::uint8_t kind;
    bool isWhole; // otherwise the file, or what may be read of it, ends inside
};

/// Hops over the blocks of a GIF file, from behind the colours of its screen. It ends at the trailer, at anything that
/// is no block, and behind a block that is cut. The file outlives it.
class GifBlocks {
public:
    explicit GifBlocks(const ByteSource& file);

    std::optional<GifBlock> next();

    /// True once the end mark has been met.
    bool reachedTrailer() const { return reachedTrailer_; }

    /// True once the file has ended before a block, or inside one.
    bool isCut() const { return !position_; }

private:
    std::optional<std::uint64_t> behindSubBlocks(std::uint64_t offset);

    const ByteSource& file_;
    std::vector<std::byte> stretch_;        // of sub-blocks, read at once
    std::optional<std::uint64_t> position_; // of the next block
    bool reachedTrailer_ = false;
};

} // namespace nivex
