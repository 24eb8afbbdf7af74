#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"

#include "tests/NivexWorkers/Image/Codecs/Bitmaps/BitmapCases.hpp"

namespace nivex::image {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;

Bytes number(std::uint64_t value, int width, bool isBig)
{
    Bytes result;
    for (int i = 0; i < width; ++i)
        result.push_back(static_cast<std::byte>(value >> 8 * (isBig ? width - 1 - i : i) & 0xFF));
    return result;
}

Bytes little(std::uint64_t value, int width = 4) { return number(value, width, false); }
Bytes big(std::uint64_t value) { return number(value, 4, true); }

/// The pictures of a file in words, or the kind of failure.
std::string outcomeOfAll(std::vector<IconPicture> (*open)(const SharedSource&, const ResourceLimits&), Bytes file)
{
    try {
        std::string text;
        for (const IconPicture& each : open(sourceOf(std::move(file)), ResourceLimits{})) {
            text += text.empty() ? "" : "; ";
            if (each.coding == IconPicture::Coding::pixels)
                text += described(each.bitmap());
            else
                text += (each.coding == IconPicture::Coding::png ? "PNG " : "JPEG 2000 ") + std::to_string(each.width) +
                        "x" + std::to_string(each.height);
        }
        return text;
    } catch (const ConversionError& error) {
        return error == damaged({})                                   ? "damaged"
               : error.kind() == ConversionError::Kind::resourceLimit ? "too large"
                                                                      : "refused";
    }
}

/// The pixels of an icon behind their header.
Bytes dib(int side, int bits, const Bytes& rest, int colours = 0)
{
    return joined({little(40), little(static_cast<unsigned>(side)), little(static_cast<unsigned>(2 * side)),
                   little(1, 2), little(static_cast<unsigned>(bits), 2), repeated(0, 16),
                   little(static_cast<unsigned>(colours)), little(0), rest});
}

Bytes png(std::uint32_t side)
{
    return joined({bytes("89 50 4E 47 0D 0A 1A 0A 00 00 00 0D"), textBytes("IHDR"), big(side), big(side),
                   bytes("08 06 00 00 00 00 00 00 00")});
}

/// A file of such pictures; `missing` bytes are said to be there and are not.
Bytes ico(const std::vector<Bytes>& pictures, std::size_t missing = 0, unsigned type = 1)
{
    Bytes file = joined({little(0, 2), little(type, 2), little(pictures.size(), 2)});
    std::size_t offset = 6 + 16 * pictures.size();
    for (const Bytes& each : pictures) {
        file = joined({file, repeated(0, 8), little(each.size() + missing), little(offset)});
        offset += each.size();
    }
    for (const Bytes& each : pictures)
        file = joined({file, each});
    return file;
}

TEST(IcoReader, EveryLayout)
{
    const Bytes red = bytes("00 00 FF 00");
    const Bytes redBlue = bytes("00 00 FF 00  FF 00 00 00");
    const Bytes opaque = little(0);
    const Bytes hidden = bytes("80 00 00 00");
    const BitmapCase cases[] = {
        {"alpha of 32 bits makes the mask superfluous", ico({dib(1, 32, joined({bytes("01 02 03 80"), hidden}))}),
         "1x1 rgba: 03020180"},
        {"32 bits whose alpha is 0 go by the mask", ico({dib(1, 32, joined({bytes("01 02 03 00"), hidden}))}),
         "1x1 rgba: 03020100"},
        {"24 bits and a mask", ico({dib(1, 24, joined({bytes("01 02 03 00"), opaque}))}), "1x1 rgba: 030201FF"},
        {"palette and mask, both from the lowest row up",
         ico({dib(2, 1, joined({redBlue, bytes("40 00 00 00  80 00 00 00"), bytes("00 00 00 00  C0 00 00 00")}), 2)}),
         "2x2 rgba: 0000FF00 FF000000 / FF0000FF 0000FFFF"},
        {"no mask at all", ico({dib(1, 24, bytes("01 02 03 00"))}), "1x1 rgba: 030201FF"},
        {"largest first, of one size the finest",
         ico({dib(1, 1, joined({redBlue, opaque, opaque}), 2), png(3), dib(1, 24, joined({red, opaque})),
              dib(1, 4, joined({redBlue, opaque, opaque}), 2)}),
         "PNG 3x3; 1x1 rgba: FF0000FF"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcomeOfAll(openIco, each.file), each.expected);
    }
}

TEST(IcoReader, WhatIsNoIcon)
{
    const Bytes pixel = dib(1, 24, joined({bytes("01 02 03 00"), little(0)}));
    const BitmapCase cases[] = {
        {"nothing", {}, "damaged"},
        {"a cursor", ico({pixel}, 0, 2), "damaged"},
        {"no picture", ico({}), "damaged"},
        {"the directory is cut", bytes("00 00 01 00 02 00 01 01"), "damaged"},
        {"a picture is cut", ico({pixel}, 1), "damaged"},
        {"the mask is cut",
         [&] {
             Bytes file = ico({pixel});
             file.pop_back();
             file[14] = std::byte{40}; // the size that the directory tells
             return file;
         }(),
         "damaged"},
        {"no height for the picture",
         ico({joined({little(40), little(1), little(1), little(1, 2), little(24, 2), repeated(0, 30)})}), "damaged"},
        {"a PNG without a header", ico({bytes("89 50 4E 47 0D 0A 1A 0A")}), "damaged"},
        {"a PNG of two billion pixels", ico({png(45'000)}), "too large"},
        {"pictures that are too large together only", ico({png(15'000), png(15'001)}), "too large"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcomeOfAll(openIco, each.file), each.expected);
    }
}

Bytes element(std::string_view type, const Bytes& contents)
{
    return joined({textBytes(type), big(8 + contents.size()), contents});
}

Bytes icns(const Bytes& elements) { return element("icns", elements); }

TEST(IcnsReader, PackedPlanes)
{
    // 256 bytes a plane: one literal, runs of 130 and 125.
    const auto plane = [](unsigned first, unsigned rest) {
        const auto value = static_cast<std::byte>(rest);
        return joined({{std::byte{0}, static_cast<std::byte>(first), std::byte{255}, value, std::byte{250}, value}});
    };
    const Bytes colours = joined({plane(1, 2), plane(3, 4), plane(5, 6)});
    Bytes mask = repeated(0x80, 256);
    mask.front() = std::byte{0x7F};
    const auto uniform = [](const std::string& first, const std::string& rest) {
        std::string text = "16x16 rgba:";
        for (int y = 0; y < 16; ++y) {
            text += y > 0 ? " /" : "";
            for (int x = 0; x < 16; ++x)
                text += " " + (x == 0 && y == 0 ? first : rest);
        }
        return text;
    };
    const BitmapCase cases[] = {
        {"planes and mask", icns(joined({element("s8mk", mask), element("is32", colours)})),
         uniform("0103057F", "02040680")},
        {"planes without a mask", icns(element("is32", colours)), uniform("010305FF", "020406FF")},
        {"four planes, alpha first", icns(element("ic04", joined({textBytes("ARGB"), plane(9, 8), colours}))),
         uniform("01030509", "02040608")},
        {"planes where mostly a file stands", icns(element("icp4", colours)), uniform("010305FF", "020406FF")},
        {"largest first, what is no picture left out",
         icns(joined({element("TOC ", bytes("01")), element("ic07", png(128)), element("ic04", png(16)),
                      element("ic10", bytes("00 00 00 0C 6A 50 20 20 0D 0A 87 0A"))})),
         "JPEG 2000 1024x1024; PNG 128x128; PNG 16x16"},
        {"a run that goes beyond the planes ends with them",
         icns(element("is32", bytes("FF 00 FF 00 FF 00 FF 00 FF 00 FF 00"))), uniform("000000FF", "000000FF")},
        {"planes end early", icns(element("is32", plane(1, 2))), "damaged"},
        {"a mask too short", icns(joined({element("is32", colours), element("s8mk", bytes("01"))})), "damaged"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcomeOfAll(openIcns, each.file), each.expected);
    }
}

TEST(IcnsReader, WhatIsNoIcon)
{
    Bytes cut = icns(element("ic04", png(16)));
    cut.pop_back();
    const BitmapCase cases[] = {
        {"nothing", {}, "damaged"},
        {"no element", icns({}), "damaged"},
        {"shorter than it says", cut, "damaged"},
        {"an element longer than the file", icns(joined({textBytes("ic04"), big(999), png(16)})), "damaged"},
        {"an element shorter than its head", icns(joined({textBytes("ic04"), big(7)})), "damaged"},
        {"a PNG of two billion pixels", icns(element("ic10", png(45'000))), "too large"},
    };
    for (const BitmapCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(outcomeOfAll(openIcns, each.file), each.expected);
    }
}

} // namespace
} // namespace nivex::image
