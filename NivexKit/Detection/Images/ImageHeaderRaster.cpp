// The headers of fixed layout: Windows bitmaps, Targa, and the two GPU texture files.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"

#include <bit>
#include <cstdlib>

namespace nivex {
namespace {

/// What tells the depth and the transparency of a bitmap.
struct BitmapLayout {
    std::uint16_t bitsPerPixel = 0;
    std::uint32_t compression = 0;
    std::uint32_t redMask = 0;
    std::uint32_t alphaMask = 0;

    bool hasMasks() const { return compression == 3 || compression == 6; }
};

int componentBits(const BitmapLayout& layout)
{
    if (layout.hasMasks() && layout.redMask != 0)
        return std::popcount(layout.redMask);
    return layout.bitsPerPixel == 16 ? 5 : 8;
}

} // namespace

bool readBmpHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(14, 124, ByteOrder::little);
    const std::uint32_t headerSize = header.u32();
    constexpr std::uint32_t coreHeader = 12;
    constexpr std::uint32_t windowsHeader = 40;
    constexpr std::uint32_t headerWithAlpha = 56;
    BitmapLayout layout;
    std::int64_t width = 0;
    std::int64_t height = 0;
    if (headerSize == coreHeader) {
        width = header.u16();
        height = header.u16();
        header.skip(2);
        layout.bitsPerPixel = header.u16();
    } else {
        width = static_cast<std::int32_t>(header.u32());
        height = static_cast<std::int32_t>(header.u32()); // negative when the rows stand from top to bottom
        header.skip(2);
        layout.bitsPerPixel = header.u16();
        layout.compression = headerSize >= windowsHeader ? header.u32() : 0;
    }
    if (header.failed() || width < 0 ||
        !enterSize(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(std::abs(height)), image))
        return false;
    if (headerSize >= headerWithAlpha || layout.compression == 6) {
        header.skip(20); // sizes, resolution and palette counts
        layout.redMask = header.u32();
        header.skip(8);
        layout.alphaMask = header.u32();
    }
    image.bitsPerComponent = componentBits(layout);
    image.isFloatingPoint = false;
    image.hasAlpha = layout.alphaMask != 0 && (layout.bitsPerPixel == 32 || layout.hasMasks());
    image.imageCount = 1;
    image.hasLocation = false;
    return true;
}

bool readTgaHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(0, 18, ByteOrder::little);
    header.skip(1); // the length of the identification text
    const std::uint8_t paletteType = header.u8();
    const std::uint8_t imageType = header.u8();
    header.skip(4); // the palette's first entry and their number
    const std::uint8_t paletteBits = header.u8();
    header.skip(4); // origin
    const std::uint16_t width = header.u16();
    const std::uint16_t height = header.u16();
    const std::uint8_t bitsPerPixel = header.u8();
    const std::uint8_t descriptor = header.u8();
    // The format has no mark, so every field must make sense.
    constexpr std::uint8_t runLengthFlag = 8;
    const int kind = imageType & ~runLengthFlag;
    const bool isSoundType = kind >= 1 && kind <= 3 && paletteType == (kind == 1 ? 1 : 0);
    const bool isSoundDepth =
        bitsPerPixel == 8 || bitsPerPixel == 15 || bitsPerPixel == 16 || bitsPerPixel == 24 || bitsPerPixel == 32;
    if (header.failed() || !isSoundType || !isSoundDepth || (descriptor & 0xC0) != 0 ||
        !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = kind == 2 && bitsPerPixel <= 16 ? 5 : 8;
    image.isFloatingPoint = false;
    // Many writers store alpha in 32 bits without counting it.
    image.hasAlpha = (descriptor & 0x0F) != 0 || (kind == 1 ? paletteBits : bitsPerPixel) == 32;
    image.imageCount = 1;
    image.hasLocation = false;
    return true;
}

bool readAstcHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(7, 6, ByteOrder::little); // behind the mark and the size of a block
    const std::uint32_t width = header.u24();
    const std::uint32_t height = header.u24();
    image.hasAlpha = true; // every block may have it, and only its bits tell
    return !header.failed() && enterSize(width, height, image);
}

bool readKtx2Header(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(20, 8, ByteOrder::little);
    const std::uint32_t width = header.u32();
    const std::uint32_t height = header.u32(); // 0 for a texture of one row
    return !header.failed() && enterSize(width, height == 0 ? 1 : height, image);
}

} // namespace nivex
