#include "tests/NivexWorkers/Image/Codecs/Bitmaps/BitmapCases.hpp"

namespace nivex::image {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;

/// A file without identification: kind, size, depth, descriptor, and what follows the header.
Bytes tga(unsigned kind, unsigned width, unsigned height, unsigned bits, unsigned descriptor, const Bytes& rest)
{
    Bytes header = repeated(0, 18);
    const auto put = [&header](std::size_t at, unsigned value) { header[at] = static_cast<std::byte>(value); };
    put(2, kind);
    put(12, width & 0xFF);
    put(13, width >> 8);
    put(14, height & 0xFF);
    put(15, height >> 8);
    put(16, bits);
    put(17, descriptor);
    return joined({header, rest});
}

/// The same with a palette of `count` entries whose first index is `first`.
Bytes indexed(unsigned kind, unsigned first, unsigned count, unsigned entryBits, const Bytes& rest)
{
    Bytes file = tga(kind, 2, 1, 8, 0x20, rest);
    file[1] = std::byte{1};
    file[3] = static_cast<std::byte>(first);
    file[5] = static_cast<std::byte>(count);
    file[7] = static_cast<std::byte>(entryBits);
    return file;
}

/// The end of a file of version 2 whose extension area, of 495 bytes, stands at `extension`.
Bytes versionTwo(unsigned extension, unsigned attribute)
{
    return joined({repeated(0, 494),
                   {static_cast<std::byte>(attribute)},
                   {static_cast<std::byte>(extension)},
                   repeated(0, 7),
                   textBytes("TRUEVISION-XFILE."),
                   repeated(0, 1)});
}

TEST(TgaReader, EveryLayout)
{
    const Bytes four = bytes("01 02 03  04 05 06  07 08 09  0A 0B 0C");
    const Bytes withIdentification = [] {
        Bytes file = tga(3, 1, 1, 8, 0, bytes("41 42 7F"));
        file[0] = std::byte{2};
        return file;
    }();
    const BitmapCase cases[] = {
        {"from bottom left", tga(2, 2, 2, 24, 0x00, four), "2x2 rgb: 090807 0C0B0A / 030201 060504"},
        {"from bottom right", tga(2, 2, 2, 24, 0x10, four), "2x2 rgb: 0C0B0A 090807 / 060504 030201"},
        {"from top left", tga(2, 2, 2, 24, 0x20, four), "2x2 rgb: 030201 060504 / 090807 0C0B0A"},
        {"from top right", tga(2, 2, 2, 24, 0x30, four), "2x2 rgb: 060504 030201 / 0C0B0A 090807"},
        {"grey behind an identification", withIdentification, "1x1 grey: 7F"},
        {"grey with alpha", tga(3, 1, 1, 16, 0x28, bytes("7F 80")), "1x1 greya: 7F80"},
        {"15 bits", tga(2, 1, 1, 15, 0x20, bytes("00 7C")), "1x1 rgb: FF0000"},
        {"16 bits, the highest of which is alpha", tga(2, 2, 1, 16, 0x21, bytes("1F 80 1F 00")),
         "2x1 rgba: 0000FFFF 0000FF00"},
        {"16 bits of which none is alpha", tga(2, 1, 1, 16, 0x20, bytes("1F 00")), "1x1 rgb: 0000FF"},
        {"32 bits with alpha", tga(2, 1, 1, 32, 0x28, bytes("01 02 03 80")), "1x1 rgba: 03020180"},
        {"32 bits, alpha nowhere above 0", tga(2, 1, 1, 32, 0x28, bytes("01 02 03 00")), "1x1 rgb: 030201"},
        {"32 bits whose alpha is not counted", tga(2, 1, 1, 32, 0x20, bytes("01 02 03 80")), "1x1 rgba: 03020180"},
        {"palette from index 5 on; the index before it is black",
         indexed(1, 5, 2, 24, bytes("01 02 03  04 05 06  06 04")), "2x1 rgb: 060504 000000"},
        {"grey palette", indexed(1, 0, 2, 24, bytes("01 01 01  04 04 04  01 00")), "2x1 grey: 04 01"},
        {"palette of 16 bits", indexed(1, 0, 1, 16, bytes("00 7C 00 00")), "2x1 rgb: FF0000 FF0000"},
        {"run and literals", tga(10, 3, 1, 24, 0x20, bytes("81 01 02 03  00 04 05 06")),
         "3x1 rgb: 030201 030201 060504"},
        {"a run goes on into the next rows", tga(11, 2, 3, 8, 0x20, bytes("84 07  00 08")),
         "2x3 grey: 07 07 / 07 07 / 07 08"},
        {"literals go on into the next row, which is the upper one", tga(11, 2, 2, 8, 0x00, bytes("03 01 02 03 04")),
         "2x2 grey: 03 04 / 01 02"},
        {"packed indices", indexed(9, 0, 2, 24, bytes("01 02 03  04 05 06  81 01")), "2x1 rgb: 060504 060504"},
        {"alpha that version 2 declares may be 0",
         tga(2, 1, 1, 32, 0x28, joined({bytes("01 02 03 00"), versionTwo(22, 3)})), "1x1 rgba: 03020100"},
        {"alpha that version 2 calls meaningless",
         tga(2, 1, 1, 32, 0x28, joined({bytes("01 02 03 80"), versionTwo(22, 2)})), "1x1 rgb: 030201"},
        {"premultiplied alpha is divided out",
         tga(2, 1, 1, 32, 0x28, joined({bytes("40 20 80 80"), versionTwo(22, 4)})), "1x1 rgba: FF408080"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openTga, each.file), each.expected);
    }
}

TEST(TgaReader, WhatIsNoPicture)
{
    const BitmapCase cases[] = {
        {"nothing", {}, "damaged"},
        {"one byte short", tga(2, 1, 1, 24, 0, bytes("01 02")), "damaged"},
        {"no width", tga(2, 0, 1, 24, 0, bytes("01 02 03")), "damaged"},
        {"an unknown kind", tga(4, 1, 1, 24, 0, bytes("01 02 03")), "damaged"},
        {"rows interleaved", tga(2, 1, 1, 24, 0x40, bytes("01 02 03")), "damaged"},
        {"indices without a palette", tga(1, 1, 1, 8, 0, bytes("00")), "damaged"},
        {"a palette cut short", indexed(1, 0, 9, 24, bytes("01 02 03")), "damaged"},
        {"packets end within a row", tga(11, 3, 1, 8, 0, bytes("81 01")), "damaged"},
        {"packets end within a pixel", tga(10, 1, 1, 24, 0, bytes("80 01")), "damaged"},
        {"literals end early", tga(11, 4, 1, 8, 0, bytes("03 01 02")), "damaged"},
        {"a giant", tga(2, 65'535, 65'535, 24, 0, bytes("01 02 03")), "too large"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openTga, each.file), each.expected);
    }
}

} // namespace
} // namespace nivex::image
