#pragma once

#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"

#include <cstdint>
#include <vector>

namespace nivex::image {

/// One picture of a file of icons: pixels, or a whole PNG or JPEG 2000 file inside it.
struct IconPicture {
    enum class Coding { pixels, png, jpeg2000 };

    Coding coding = Coding::pixels;
    int width = 0;
    int height = 0;
    int bitsPerPixel = 32;          // as stored: tells which of two pictures of one size is the finer
    std::function<Bitmap()> bitmap; // of pixels: opens them; always with alpha
    std::uint64_t begin = 0;        // where the file inside stands
    std::uint64_t size = 0;
};

// The parsers. The pictures come largest first, of each size only the finest. Each throws ConversionError:
// `unreadableSource` for what is malformed or incomplete, `resourceLimit` when all pictures together are above the
// limit, before anything is allocated for their pixels.
std::vector<IconPicture> openIco(const SharedSource& file, const ResourceLimits& limits);
std::vector<IconPicture> openIcns(const SharedSource& file, const ResourceLimits& limits);

// What the parsers share.

/// True when the eight bytes with which a PNG file begins stand at `offset`.
bool isPng(const ByteSource& file, std::uint64_t offset);

/// A PNG file inside another, its size taken from its header. Throws damaged().
IconPicture pngInside(const ByteSource& file, std::uint64_t begin, std::uint64_t size);

/// Brings the pictures into their order, leaves out those of which a finer one has the same size, and throws damaged()
/// when there is none.
std::vector<IconPicture> inOrder(std::vector<IconPicture> pictures);

} // namespace nivex::image
