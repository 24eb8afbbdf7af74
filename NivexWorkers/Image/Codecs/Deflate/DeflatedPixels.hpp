#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {

/// How many bytes data may be expected to become, from a sample of them: a quick look that finds no distant
/// repetitions.
std::size_t deflatedSize(std::span<const std::byte> sample);

/// DEFLATE (RFC 1951) of a strip of pixels that further strips follow: no block of it is the last one, and it ends with
/// a whole byte, so such parts stand one behind the other as one stream.
struct DeflatedPart {
    std::vector<std::byte> bytes;
    std::uint32_t checksum;  // Adler-32 of the pixels
    std::size_t pixelsBytes; // before they were compressed
};

/// What a strip consists of: differences of neighbours are small numbers in smooth photographs too, which repeat
/// nothing.
enum class StripContents { samples, differences };

/// Pixels of photographs, which no effort makes much smaller, are compressed quickly; those that repeat, as in drawings
/// and pages of text, thoroughly. Any thread. Throws ConversionError::encodingFailed without memory.
DeflatedPart deflatedPart(std::span<const std::byte> pixels, StripContents contents = StripContents::samples);

/// What makes parts a stream of zlib (RFC 1950).
class ZlibStream {
public:
    /// What stands in front of the parts.
    static constexpr std::string_view head{"\x78\x01", 2};

    /// Takes account of the next part.
    void add(const DeflatedPart& part);

    /// What stands behind them: the last block, empty, and the checksum.
    std::string end() const;

private:
    std::uint32_t checksum_ = 1;
};

/// Such a stream of a single part.
std::string zlibStream(std::span<const std::byte> pixels, StripContents contents = StripContents::samples);

} // namespace nivex::image
