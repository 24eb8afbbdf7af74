#include "tests/NivexWorkers/Image/Codecs/Bitmaps/BitmapCases.hpp"

namespace nivex::image {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;

Bytes little(std::uint64_t value, int width = 4)
{
    Bytes result;
    for (int i = 0; i < width; ++i)
        result.push_back(static_cast<std::byte>(value >> 8 * i & 0xFF));
    return result;
}

/// A file of a header with a palette or masks behind it, and pixels.
Bytes bmp(const Bytes& header, const Bytes& pixels)
{
    return joined({textBytes("BM"), little(0), little(0), little(14 + header.size()), header, pixels});
}

struct Header {
    std::int32_t width = 2;
    std::int32_t height = 2;
    int bits = 24;
    unsigned compression = 0;
    unsigned colours = 0;
    unsigned size = 40;
};

Bytes info(const Header& header, const Bytes& rest = {})
{
    return joined({little(header.size), little(static_cast<std::uint32_t>(header.width)),
                   little(static_cast<std::uint32_t>(header.height)), little(1, 2),
                   little(static_cast<unsigned>(header.bits), 2), little(header.compression), little(0), little(2835),
                   little(2835), little(header.colours), little(0), rest});
}

const Bytes redBlue = bytes("00 00 FF 00  FF 00 00 00");
const Bytes blackWhite = bytes("00 00 00 00  FF FF FF 00");

TEST(BmpReader, EveryLayout)
{
    const Bytes rows24 = bytes("01 02 03 04 05 06 00 00  11 12 13 14 15 16 00 00");
    const Bytes masks565 = bytes("00 F8 00 00  E0 07 00 00  1F 00 00 00");
    const Bytes alphaMasks = bytes("00 00 FF 00  00 FF 00 00  FF 00 00 00  00 00 00 FF");
    const BitmapCase cases[] = {
        {"rows stand from bottom to top, blue first", bmp(info({}), rows24), "2x2 rgb: 131211 161514 / 030201 060504"},
        {"a negative height means from top to bottom", bmp(info({.height = -2}), rows24),
         "2x2 rgb: 030201 060504 / 131211 161514"},
        {"OS/2's header has 16-bit sides and palette entries of 3 bytes",
         bmp(bytes("0C 00 00 00 02 00 01 00 01 00 01 00  00 00 FF  FF 00 00"), bytes("40 00 00 00")),
         "2x1 rgb: FF0000 0000FF"},
        {"a grey palette makes grey pixels", bmp(info({.height = 1, .bits = 1}, blackWhite), bytes("80 00 00 00")),
         "2x1 grey: FF 00"},
        {"2 bits", bmp(info({.height = 1, .bits = 2, .colours = 2}, redBlue), bytes("40 00 00 00")),
         "2x1 rgb: 0000FF FF0000"},
        {"4 bits, an index without an entry is black",
         bmp(info({.height = 1, .bits = 4, .colours = 2}, redBlue), bytes("1F 00 00 00")), "2x1 rgb: 0000FF 000000"},
        {"8 bits, the last row without padding",
         bmp(info({.height = 1, .bits = 8, .colours = 2}, redBlue), bytes("01 00")), "2x1 rgb: 0000FF FF0000"},
        {"16 bits are 5-5-5", bmp(info({.height = 1, .bits = 16}), bytes("1F 00 00 7C")), "2x1 rgb: 0000FF FF0000"},
        {"16 bits by masks behind the header",
         bmp(info({.height = 1, .bits = 16, .compression = 3}, masks565), bytes("E0 07 01 08")),
         "2x1 rgb: 00FF00 080008"},
        {"the fourth byte of 32 bits is no alpha unless a mask says so",
         bmp(info({.width = 1, .height = 1, .bits = 32}), bytes("01 02 03 80")), "1x1 rgb: 030201"},
        {"alpha by a mask",
         bmp(info({.width = 1, .height = 1, .bits = 32, .compression = 6}, alphaMasks), bytes("01 02 03 80")),
         "1x1 rgba: 03020180"},
        {"alpha that is 0 everywhere is none",
         bmp(info({.width = 1, .height = 1, .bits = 32, .compression = 6}, alphaMasks), bytes("01 02 03 00")),
         "1x1 rgb: 030201"},
        {"the masks inside a header of version 3",
         bmp(info({.width = 1, .height = 1, .bits = 32, .compression = 3, .size = 56}, alphaMasks),
             bytes("01 02 03 80")),
         "1x1 rgba: 03020180"},
        {"components of 10 bits keep them, in the processor's order", // 3FF, 200, 001
         bmp(info({.width = 1, .height = 1, .bits = 32, .compression = 3},
                  bytes("00 00 F0 3F  00 FC 0F 00  FF 03 00 00")),
             bytes("01 00 F8 3F")),
         "1x1 rgb16: FFFF20804000"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openBmp, each.file), each.expected);
    }
}

TEST(BmpReader, RunLengths)
{
    const auto rle8 = [](std::int32_t width, std::int32_t height, std::string_view pixels) {
        return bmp(info({.width = width, .height = height, .bits = 8, .compression = 1, .colours = 2}, blackWhite),
                   bytes(pixels));
    };
    const auto rle4 = [](std::int32_t width, std::int32_t height, std::string_view pixels) {
        return bmp(info({.width = width, .height = height, .bits = 4, .compression = 2, .colours = 2}, blackWhite),
                   bytes(pixels));
    };
    const BitmapCase cases[] = {
        {"runs, and literals padded to an even count", rle8(4, 2, "04 01 00 00  00 03 01 00 01 00 01 01 00 01"),
         "4x2 grey: FF 00 FF FF / FF FF FF FF"},
        {"the end of the picture leaves the rest black", rle8(2, 2, "01 01 00 01"), "2x2 grey: 00 00 / FF 00"},
        {"a delta moves right and up", rle8(3, 3, "01 01 00 02 01 02 01 01 00 01"),
         "3x3 grey: 00 00 FF / 00 00 00 / FF 00 00"},
        {"a delta beyond the last row ends the picture", rle8(2, 2, "01 01 00 02 00 FF"), "2x2 grey: 00 00 / FF 00"},
        {"a large picture of which hardly anything is stored", rle8(20'000, 20'000, "01 01 00 01"), "damaged"},
        {"a delta within a row", rle8(3, 1, "01 01 00 02 01 00 01 01 00 01"), "3x1 grey: FF 00 FF"},
        {"a run that leaves the row ends with it", rle8(2, 2, "09 01 00 00 01 01 00 01"), "2x2 grey: FF 00 / FF FF"},
        {"nothing behind the last pixel", rle8(2, 1, "02 01"), "2x1 grey: FF FF"},
        {"4 bits: a run alternates between two colours", rle4(5, 1, "05 10 00 01"), "5x1 grey: FF 00 FF 00 FF"},
        {"4 bits: literals fill whole words", rle4(5, 1, "00 05 10 11 10 00 00 01"), "5x1 grey: FF 00 FF FF FF"},
        {"ends within a row", rle8(2, 2, "02 01 00 00 01 01"), "damaged"},
        {"ends within literals", rle8(4, 1, "00 04 01 01"), "damaged"},
        {"ends before the last row", rle8(2, 2, "02 01 00 00"), "damaged"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openBmp, each.file), each.expected);
    }
}

TEST(BmpReader, WhatIsNoPicture)
{
    const Bytes pixel = bytes("01 02 03 00");
    const BitmapCase cases[] = {
        {"nothing", {}, "damaged"},
        {"cut in the header", bytes("42 4D 00 00 00 00 00 00 00 00 36 00 00 00 28 00"), "damaged"},
        {"one byte short", bmp(info({.width = 1, .height = 1}), bytes("01 02")), "damaged"},
        {"the second row is missing", bmp(info({.width = 1}), pixel), "damaged"},
        {"no width", bmp(info({.width = 0}), pixel), "damaged"},
        {"a negative width", bmp(info({.width = -1}), pixel), "damaged"},
        {"the lowest height has no opposite", bmp(info({.height = INT32_MIN}), pixel), "damaged"},
        {"a giant", bmp(info({.width = 40'000, .height = 40'000}), pixel), "too large"},
        {"3 bits", bmp(info({.bits = 3}), pixel), "damaged"},
        {"run lengths of 24 bits", bmp(info({.compression = 1}), pixel), "damaged"},
        {"a JPEG inside", bmp(info({.bits = 0, .compression = 4}), pixel), "refused"},
        {"a PNG inside", bmp(info({.bits = 0, .compression = 5}), pixel), "refused"},
        {"a fax inside", bmp(info({.bits = 1, .compression = 3}), pixel), "refused"},
        {"pixels behind the end", joined({textBytes("BM"), little(0), little(0), little(5000), info({}), pixel}),
         "damaged"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openBmp, each.file), each.expected);
    }
}

TEST(BmpReader, ResolutionAndProfile)
{
    Bytes header = info({.width = 1, .height = 1, .size = 124}, repeated(0, 84));
    const auto put = [&header](std::size_t offset, const Bytes& value) {
        std::ranges::copy(value, header.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(56, little(0x4D424544));
    put(112, little(128));
    put(116, little(7));
    const Bitmap bitmap =
        openBmp(sourceOf(joined({bmp(header, bytes("01 02 03 00")), textBytes("PROFILE")})), ResourceLimits{});
    EXPECT_DOUBLE_EQ(bitmap.horizontalDotsPerMillimetre, 2.835);
    EXPECT_EQ(bitmap.profile, textBytes("PROFILE"));
}

} // namespace
} // namespace nivex::image
