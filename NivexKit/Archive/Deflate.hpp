#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace nivex {

/// DEFLATE compression. Any thread; no state is kept between calls.
class Deflate {
public:
    enum class Direction { encode, decode };

    /// What surrounds the compressed data.
    enum class Wrapping { none, zlib, gzip };

    /// The decoded form of raw DEFLATE data, which was announced to have `expectedSize` bytes; it may have fewer.
    ///
    /// errors   unreadableSource as soon as the output passes `expectedSize`, and for invalid or cut data;
    ///          encodingFailed when there is no memory for the decoder
    /// memory   the smaller of `expectedSize` and what so much data can decode to at most
    static std::vector<std::byte> decompress(std::span<const std::byte> data, std::uint64_t expectedSize);

    /// Encodes `data` as raw DEFLATE or decodes it; none when the result would have more than `maxSize` bytes, in which
    /// case the work stops there. Errors as `decompress`.
    static std::optional<std::vector<std::byte>> process(Direction direction, std::span<const std::byte> data,
                                                         std::uint64_t maxSize);

    /// The beginning of what `data` decodes to: up to `maxOutput` bytes, fewer when the data end or turn invalid
    /// before. `data` may itself be only the beginning. Never throws for what the data hold.
    static std::vector<std::byte> inflatePrefix(std::span<const std::byte> data, std::size_t maxOutput,
                                                Wrapping wrapping = Wrapping::none);
};

} // namespace nivex
