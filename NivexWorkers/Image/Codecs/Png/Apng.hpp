#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Structures/PngChunks.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nivex::image {

/// One step of an animated PNG: a picture that is painted onto what the steps before left (PNG, Third Edition, W3C,
/// 11.3.3.2). It lies within the animation.
struct ApngFrame {
    enum class Disposal : std::uint8_t { none = 0, background = 1, previous = 2 };

    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int milliseconds = 0;               // as the file asks
    Disposal disposal = Disposal::none; // what becomes of its place before the next step
    bool isBlended = false;             // painted over what is there, not in its stead
    std::vector<PngChunk> pixels;       // never empty
    std::size_t leadingBytes = 0;       // of each of these chunks, which are not pixels yet
};

/// The steps of an animated PNG.
struct Apng {
    int width = 0;
    int height = 0;
    int plays = 0; // 0 for ever
    std::vector<ApngFrame> frames;
    std::vector<std::byte> header;  // data of IHDR
    std::vector<std::byte> palette; // PLTE and tRNS, whole chunks, which all frames share
};

/// The animation in a PNG file; none where it holds a single picture. Throws ConversionError: `unreadableSource` for an
/// animation that is malformed or incomplete, `resourceLimit` where all its frames are above the limit.
std::optional<Apng> openApng(const ByteSource& file, const ResourceLimits& limits);

/// The picture of a frame as a PNG file of its own. Throws `unreadableSource` where its chunks are damaged.
std::vector<std::byte> pngOf(const ByteSource& file, const Apng& animation, const ApngFrame& frame);

} // namespace nivex::image
