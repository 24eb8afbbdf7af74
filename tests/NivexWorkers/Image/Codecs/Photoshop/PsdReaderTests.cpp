#include "tests/NivexWorkers/Image/Codecs/Bitmaps/BitmapCases.hpp"

#include <zlib.h>

namespace nivex::image {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;

Bytes big(std::uint64_t value, int width = 4)
{
    Bytes result;
    for (int i = width - 1; i >= 0; --i)
        result.push_back(static_cast<std::byte>(value >> 8 * i & 0xFF));
    return result;
}

struct Header {
    int channels = 3;
    std::uint32_t width = 2;
    std::uint32_t height = 1;
    int depth = 8;
    int mode = 3;
    int version = 1;
};

Bytes psd(const Header& header, const Bytes& pixels, const Bytes& resources = {}, const Bytes& layers = {},
          const Bytes& modeData = {})
{
    return joined({textBytes("8BPS"), big(static_cast<unsigned>(header.version), 2), repeated(0, 6),
                   big(static_cast<unsigned>(header.channels), 2), big(header.height), big(header.width),
                   big(static_cast<unsigned>(header.depth), 2), big(static_cast<unsigned>(header.mode), 2),
                   big(modeData.size()), modeData, big(resources.size()), resources,
                   big(layers.size(), header.version == 2 ? 8 : 4), layers, pixels});
}

Bytes resource(unsigned identifier, const Bytes& contents)
{
    return joined({textBytes("8BIM"), big(identifier, 2), big(0, 2), big(contents.size()), contents,
                   repeated(0, contents.size() % 2)});
}

Bytes deflated(const Bytes& plain)
{
    Bytes packed(plain.size() + 64);
    uLongf size = packed.size();
    ::compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
               plain.size());
    packed.resize(size);
    return packed;
}

const Bytes plainly = bytes("00 00");
const Bytes packed = bytes("00 01");
const Bytes holes = joined({big(2), big(0xFFFF, 2)}); // a section of layers whose count is -1

TEST(PsdReader, EveryLayout)
{
    const auto raw = [](std::string_view pixels) { return joined({plainly, bytes(pixels)}); };
    Bytes palette = repeated(0, 768);
    palette[1] = std::byte{0xAA};
    palette[256 + 1] = std::byte{0xBB};
    palette[512 + 1] = std::byte{0xCC};
    const Bytes noHoles = joined({big(2), big(1, 2)});
    const BitmapCase cases[] = {
        {"planes become pixels", psd({}, raw("01 02  11 12  21 22")), "2x1 rgb: 011121 021222"},
        {"PackBits: literals, a run, an empty byte",
         psd({}, joined({packed, bytes("00 03 00 03 00 02"), bytes("01 01 02  80 FF 11  FF 21")})),
         "2x1 rgb: 011121 021121"},
        {"lengths of 32 bits in a PSB",
         psd({.version = 2}, joined({packed, big(2), big(2), big(2), bytes("FF 01  FF 11  FF 21")})),
         "2x1 rgb: 011121 011121"},
        {"grey of 16 bits, big-endian", psd({.channels = 1, .width = 1, .depth = 16, .mode = 1}, raw("12 34")),
         "1x1 grey16: 3412"},
        {"a bitmap: 1 is black", psd({.channels = 1, .depth = 1, .mode = 0}, raw("40")), "2x1 grey: FF 00"},
        {"indexed", psd({.channels = 1, .mode = 2}, raw("01 00"), {}, {}, palette), "2x1 rgb: AABBCC 000000"},
        {"an index that is transparent",
         psd({.channels = 1, .mode = 2}, raw("01 00"), resource(1047, big(0, 2)), {}, palette),
         "2x1 rgba: AABBCCFF 00000000"},
        {"inks are stored inverted", psd({.channels = 4, .width = 1, .mode = 4}, raw("FF 00 F0 0F")),
         "1x1 cmyk: 00FF0FF0"},
        {"duotone is shown grey", psd({.channels = 1, .mode = 8}, raw("10 20")), "2x1 grey: 10 20"},
        {"floating point", psd({.width = 1, .depth = 32}, raw("3F 80 00 00 00 00 00 00 3F 00 00 00")),
         "1x1 rgb32: 0000803F000000000000003F"},
        {"an extra channel is no transparency by itself",
         psd({.channels = 4, .width = 1}, raw("01 02 03 80"), {}, noHoles), "1x1 rgb: 010203"},
        {"transparency of layers, white taken out", psd({.channels = 4, .width = 1}, raw("FF 80 7F 80"), {}, holes),
         "1x1 rgba: FF020080"},
        {"transparency by name, as it is",
         psd({.channels = 4, .width = 1}, raw("01 02 03 80"),
             resource(1006, joined({bytes("0C"), textBytes("Transparency")}))),
         "1x1 rgba: 01020380"},
        {"transparency of a deep document",
         psd({.channels = 2, .width = 1, .depth = 16, .mode = 1}, raw("FF FF 80 00"), {},
             joined({big(0), big(0), textBytes("8BIMMt16"), big(0)})),
         "1x1 greya16: FFFF0080"},
        {"ZIP", psd({}, joined({bytes("00 02"), deflated(bytes("01 02 11 12 21 22"))})), "2x1 rgb: 011121 021222"},
        {"ZIP of differences", psd({}, joined({bytes("00 03"), deflated(bytes("01 01 11 01 21 FF"))})),
         "2x1 rgb: 011121 021220"},
        {"ZIP of differences of 16 bits",
         psd({.channels = 1, .depth = 16, .mode = 1}, joined({bytes("00 03"), deflated(bytes("00 FF 00 02"))})),
         "2x1 grey16: FF00 0101"},
        {"ZIP of differences of floating point", // ranks of 3F800000 and 3F000000: 3F 3F 80 00 00 00 00 00
         psd({.channels = 1, .depth = 32, .mode = 1},
             joined({bytes("00 03"), deflated(bytes("3F 00 41 80 00 00 00 00"))})),
         "2x1 grey32: 0000803F 0000003F"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openPsd, each.file), each.expected);
    }
}

TEST(PsdReader, WhatIsNoPicture)
{
    const Bytes pixels = joined({plainly, bytes("01 02  11 12  21 22")});
    const Bytes noMergedPicture = resource(1057, bytes("00 00 00 01 00"));
    Bytes cut = psd({}, pixels);
    cut.pop_back();
    const BitmapCase cases[] = {
        {"nothing", {}, "damaged"},
        {"one byte short", cut, "damaged"},
        {"version 3", psd({.version = 3}, pixels), "damaged"},
        {"no width", psd({.width = 0}, pixels), "damaged"},
        {"a giant", psd({.width = 30'000, .height = 30'000}, pixels), "too large"},
        {"too few channels", psd({.channels = 2}, pixels), "damaged"},
        {"a depth that the mode has not", psd({.depth = 1}, pixels), "damaged"},
        {"channels without colours", psd({.mode = 7}, pixels), "refused"},
        {"an unknown packing", psd({}, joined({bytes("00 04"), pixels})), "damaged"},
        {"indices without a palette", psd({.channels = 1, .mode = 2}, pixels), "damaged"},
        {"layers without their merged picture", psd({}, pixels, noMergedPicture, joined({big(2), big(1, 2)})),
         "refused"},
        {"no layers, so what there is is the picture", psd({}, pixels, noMergedPicture), "2x1 rgb: 011121 021222"},
        {"packed rows end within the file only",
         psd({}, joined({packed, bytes("00 02 00 02 00 01"), bytes("FF 01 FF 11 FF")})), "damaged"},
        {"a table of lengths that is cut", psd({.height = 100}, joined({packed, bytes("00 02")})), "damaged"},
        {"lengths behind the end", psd({}, joined({packed, bytes("FF FF FF FF FF FF"), bytes("FF 01")})), "damaged"},
        {"ZIP that ends early", psd({}, joined({bytes("00 02"), deflated(bytes("01 02"))})), "damaged"},
        {"ZIP of nothing for a large picture",
         psd({.width = 10'000, .height = 10'000}, joined({bytes("00 02"), deflated(bytes("01"))})), "damaged"},
        {"a section of resources behind the end", joined({psd({}, {}), bytes("00")}), "damaged"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcome(openPsd, each.file), each.expected);
    }
}

TEST(PsdReader, ResolutionAndProfile)
{
    const Bytes resources = joined({resource(1005, joined({big(300 << 16), big(1), big(150 << 16), big(1)})),
                                    resource(1039, textBytes("PROFILE"))});
    const Bitmap bitmap = openPsd(sourceOf(psd({}, joined({plainly, repeated(0, 6)}), resources)), ResourceLimits{});
    EXPECT_NEAR(bitmap.horizontalDotsPerMillimetre * 25.4, 300, 1e-9);
    EXPECT_NEAR(bitmap.verticalDotsPerMillimetre * 25.4, 150, 1e-9);
    EXPECT_EQ(bitmap.profile, textBytes("PROFILE"));
}

} // namespace
} // namespace nivex::image
