#pragma once

#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace nivex::image {

/// A device-independent bitmap: what a BMP file holds behind its file header, and an icon for each of its sizes.
/// Source: the Windows SDK's BITMAPCOREHEADER to BITMAPV5HEADER, and OS/2's BITMAPINFOHEADER2.
struct Dib {
    enum class Packing { none, runLength4, runLength8 };

    int width = 0;
    int height = 0; // of an icon: of picture and mask together
    bool isTopDown = false;
    int bitsPerPixel = 0;
    Packing packing = Packing::none;
    std::array<std::uint32_t, 4> masks{}; // red, green, blue, alpha: which bits of a pixel; 0 for none
    std::vector<std::array<std::byte, 3>> palette;
    std::uint64_t end = 0; // behind header and palette: where pixels follow that no offset points to
    double horizontalDotsPerMillimetre = 0;
    double verticalDotsPerMillimetre = 0;
    std::uint64_t profileBegin = 0; // of the embedded ICC profile
    std::uint32_t profileSize = 0;  // 0 for none
};

/// Reads the header at `offset`, and the palette, which ends at `pixels` at the latest (0: unknown). The sides are
/// positive. Throws `unreadableSource`.
Dib readDib(const ByteSource& file, std::uint64_t offset, std::uint64_t pixels);

/// Bytes of one row that is not packed.
constexpr std::uint64_t dibRowBytes(int width, int bitsPerPixel)
{
    return (static_cast<std::uint64_t>(width) * static_cast<unsigned>(bitsPerPixel) + 31) / 32 * 4;
}

/// The bitmap whose pixels begin at `pixels`. Throws `unreadableSource` where they are incomplete.
/// Alpha that is 0 everywhere counts as none: some writers name a mask and store nothing there.
Bitmap dibBitmap(const SharedSource& file, const Dib& dib, std::uint64_t pixels);

} // namespace nivex::image
