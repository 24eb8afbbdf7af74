#include "NivexKit/Detection/Images/ImageHeader.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <string>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

Bytes number(std::uint64_t value, int width, ByteOrder order)
{
    Bytes result;
    for (int i = 0; i < width; ++i)
        result.push_back(static_cast<std::byte>(value >> 8 * (order == ByteOrder::little ? i : width - 1 - i) & 0xFF));
    return result;
}

Bytes big(std::uint64_t value, int width = 4) { return number(value, width, ByteOrder::big); }
Bytes little(std::uint64_t value, int width = 4) { return number(value, width, ByteOrder::little); }

Bytes box(std::string_view type, const Bytes& contents)
{
    return joined({big(contents.size() + 8), textBytes(type), contents});
}

Bytes pngChunk(std::string_view type, const Bytes& data)
{
    return joined({big(data.size()), textBytes(type), data, big(0)});
}

Bytes png(const Bytes& header, const std::vector<Bytes>& chunks)
{
    Bytes result = joined({bytes("89 50 4E 47 0D 0A 1A 0A"), pngChunk("IHDR", header)});
    for (const Bytes& chunk : chunks)
        result.insert(result.end(), chunk.begin(), chunk.end());
    return joined({result, pngChunk("IDAT", bytes("00")), pngChunk("IEND", {})});
}

struct Field {
    int tag;
    int type; // 3 short, 4 long
    std::uint32_t value;
    std::uint32_t count = 1;
};

constexpr int shortType = 3;
constexpr int longType = 4;

/// A little-endian directory: its fields and where the next one stands.
Bytes directory(const std::vector<Field>& fields, std::uint32_t next = 0)
{
    Bytes result = little(fields.size(), 2);
    for (const Field& field : fields)
        result = joined({result, little(static_cast<unsigned>(field.tag), 2),
                         little(static_cast<unsigned>(field.type), 2), little(field.count), little(field.value)});
    return joined({result, little(next)});
}

/// A TIFF file of directories that stand one after the other, the first at offset 8.
Bytes tiff(const std::vector<Bytes>& directories)
{
    Bytes result = bytes("49 49 2A 00 08 00 00 00");
    for (const Bytes& each : directories)
        result = joined({result, each});
    return result;
}

constexpr std::uint32_t directorySize(std::uint32_t fields) { return 2 + 12 * fields + 4; }

/// An Exif block with a GPS directory of one field: the latitude (2), or the version (0) of a camera without a fix.
Bytes exif(int gpsTag)
{
    return tiff({directory({{34853, longType, 8 + directorySize(1)}}), directory({{gpsTag, 1, 0}})});
}

Bytes jpeg(const Bytes& exifBlock)
{
    const Bytes frame =
        bytes("FF C4 00 03 00 FF FF C2 00 0B 08 00 15 00 25 01 01 11 00"); // a table, a fill byte, a frame
    return joined(
        {bytes("FF D8 FF E1"), big(exifBlock.size() + 8, 2), textBytes("Exif"), bytes("00 00"), exifBlock, frame});
}

Bytes gifFrame(std::string_view flags)
{
    return joined({bytes("21 F9 04"), bytes(flags), bytes("00 00 00 00"), bytes("2C 00 00 00 00 02 00 01 00 00 02"),
                   bytes("02 44 01 00")});
}

Bytes riff(const Bytes& chunks)
{
    return joined({textBytes("RIFF"), little(chunks.size() + 4), textBytes("WEBP"), chunks});
}

Bytes riffChunk(std::string_view type, const Bytes& data)
{
    return joined({textBytes(type), little(data.size()), data});
}

Bytes photoshop(int channels, const Bytes& layerSection)
{
    return joined({textBytes("8BPS"), big(1, 2), repeated(0, 6), big(static_cast<unsigned>(channels), 2), big(21),
                   big(37), big(16, 2), big(3, 2), big(0), big(0), big(layerSection.size()), layerSection});
}

Bytes itemInfo(int id, std::string_view type, int flags)
{
    return box("infe", joined({big(0x02000000U + static_cast<unsigned>(flags)), big(static_cast<unsigned>(id), 2),
                               big(0, 2), textBytes(type), bytes("00")}));
}

Bytes reference(std::string_view type, int from, const std::vector<int>& to)
{
    Bytes ids = joined({big(static_cast<unsigned>(from), 2), big(to.size(), 2)});
    for (const int each : to)
        ids = joined({ids, big(static_cast<unsigned>(each), 2)});
    return box(type, ids);
}

/// A grid (1) of two tiles (2, 3) with an alpha plane (4), a thumbnail (5) and a second image (6). `depth` is the type
/// of the box that states it.
Bytes heif(std::string_view depth = "pixi")
{
    const Bytes items = joined({itemInfo(1, "grid", 0), itemInfo(2, "hvc1", 1), itemInfo(3, "hvc1", 0),
                                itemInfo(4, "hvc1", 0), itemInfo(5, "hvc1", 0), itemInfo(6, "hvc1", 0)});
    const Bytes references =
        joined({reference("dimg", 1, {2, 3}), reference("auxl", 4, {1}), reference("thmb", 5, {1})});
    const Bytes properties =
        joined({box("ispe", joined({big(0), big(512), big(512)})), box("ispe", joined({big(0), big(1000), big(600)})),
                box("auxC", joined({big(0), textBytes("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha"), bytes("00")})),
                box(depth, bytes("00 00 00 00 03 0A 0A 0A"))});
    const Bytes associations =
        joined({big(0), big(3), bytes("00 01 02 82 04"), bytes("00 02 01 81"), bytes("00 04 02 01 03")});
    const Bytes meta =
        joined({big(0), box("pitm", joined({big(0), big(1, 2)})), box("iinf", joined({big(0), big(6, 2), items})),
                box("iref", joined({big(0), references})),
                box("iprp", joined({box("ipco", properties), box("ipma", associations)}))});
    return joined({box("ftyp", textBytes("heic")), box("meta", meta)});
}

/// A sequence of 5 frames that takes 2.5 seconds.
Bytes movingHeif()
{
    const Bytes header = joined({big(0), repeated(0, 8), big(600), big(1500), repeated(0, 80)});
    const Bytes sizes = box("stsz", joined({big(0), big(0), big(5)}));
    const Bytes track = box("trak", box("mdia", box("minf", box("stbl", sizes))));
    return joined({heif(), box("moov", joined({box("mvhd", header), track}))});
}

Bytes exrAttribute(std::string_view name, std::string_view type, const Bytes& value)
{
    return joined({textBytes(name), bytes("00"), textBytes(type), bytes("00"), little(value.size()), value});
}

Bytes exrChannel(std::string_view name, unsigned type)
{
    return joined({textBytes(name), bytes("00"), little(type), little(0), little(1), little(1)});
}

struct Case {
    const char* name;
    const char* format;
    Bytes file;
    SourceProperties expected;
};

SourceProperties read(const Case& each, bool& isUnderstood)
{
    SourceProperties image;
    const MemorySource source{each.file};
    HeaderBytes file{source, {}};
    isUnderstood = readImageHeader(each.format, file, image);
    return image;
}

void expectAll(std::span<const Case> cases)
{
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        bool isUnderstood = false;
        const SourceProperties image = read(each, isUnderstood);
        EXPECT_EQ(writeJson(toJson(image)), writeJson(toJson(each.expected)));
        EXPECT_EQ(isUnderstood, each.expected.pixelWidth.has_value());
    }
}

TEST(ImageHeader, ReadsTheRastersOfTheWeb)
{
    const Bytes paletteHeader = bytes("00 00 00 25 00 00 00 15 02 03 00 00 00");
    const Bytes vp8x = riffChunk("VP8X", bytes("12 00 00 00 24 00 00 14 00 00"));
    const Case cases[] = {
        {"a palette's depth is not that of its indices, and its alpha is a chunk",
         "png",
         png(paletteHeader, {pngChunk("tRNS", bytes("00"))}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false}},
        {"animated, with a position",
         "png",
         png(bytes("00 00 00 25 00 00 00 15 10 02 00 00 00"), {pngChunk("acTL", big(3)), pngChunk("eXIf", exif(2))}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 3,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = true}},
        {"a position in Exif",
         "jpeg",
         jpeg(exif(2)),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = true}},
        {"a GPS directory without a fix is no position",
         "jpeg",
         jpeg(exif(0)),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"frames are counted, transparency is the first one's",
         "gif",
         joined({textBytes("GIF89a"), bytes("25 00 15 00 80 00 00 FF FF FF 00 00 00"), gifFrame("00"), gifFrame("01"),
                 bytes("3B")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 2,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"lossless with alpha",
         "webp",
         riff(riffChunk("VP8L", bytes("2F 24 00 05 10 00"))),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"animated",
         "webp",
         riff(joined({vp8x, riffChunk("ANMF", bytes("00 00")), riffChunk("ANMF", bytes("00 00"))})),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 2,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
    };
    expectAll(cases);
}

TEST(ImageHeader, ReadsTiffAndItsRelatives)
{
    const std::vector<Field> page = {
        {256, shortType, 37}, {257, shortType, 21}, {258, shortType, 32}, {338, shortType, 2}, {339, shortType, 3}};
    const Field reduced{254, longType, 1};
    const SourceProperties floating{.pixelWidth = 37,
                                    .pixelHeight = 21,
                                    .hasAlpha = true,
                                    .imageCount = 2,
                                    .bitsPerComponent = 32,
                                    .isFloatingPoint = true,
                                    .hasLocation = false,
                                    .hasLayers = false};
    const std::uint32_t second = 8 + directorySize(5);
    const std::uint32_t third = second + directorySize(1);
    const Case cases[] = {
        {"two pages and a preview", "tiff",
         tiff({directory(page, second), directory({reduced}, third), directory({{256, shortType, 1}})}), floating},
        {"a chain that leads back to a page ends", "tiff",
         tiff({directory(page, second), directory({{256, shortType, 1}}, second)}), floating},
        {"64-bit offsets, big-endian",
         "tiff",
         joined({bytes("4D 4D 00 2B 00 08 00 00 00 00 00 00 00 00 00 10 00 00 00 00 00 00 00 02"),
                 bytes("01 00 00 04 00 00 00 00 00 00 00 01 00 00 00 25 00 00 00 00"),
                 bytes("01 01 00 03 00 00 00 00 00 00 00 01 00 15 00 00 00 00 00 00"), repeated(0, 8)}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 1,
          .isFloatingPoint = false,
          .hasLocation = false,
          .hasLayers = false}},
        {"the raw image below a thumbnail",
         "dng",
         tiff({directory({{256, shortType, 16}, {257, shortType, 12}, {330, longType, 8 + directorySize(3)}}),
               directory({{256, shortType, 4000}, {257, shortType, 3000}, {258, shortType, 14}})}),
         {.pixelWidth = 4000,
          .pixelHeight = 3000,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 14,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"borders of the picture on the sensor",
         "rw2",
         joined({bytes("49 49 55 00 08 00 00 00"), directory({{4, shortType, 6},
                                                              {5, shortType, 8},
                                                              {6, shortType, 3006},
                                                              {7, shortType, 4008},
                                                              {10, shortType, 12}})}),
         {.pixelWidth = 4000,
          .pixelHeight = 3000,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 12,
          .hasLocation = false}},
        {"records behind the preview",
         "raf",
         joined({repeated(0, 84), big(0), big(0), big(100), big(0), big(1), big(0x100, 2), big(4, 2), big(3000, 2),
                 big(4000, 2)}),
         {.pixelWidth = 4000, .pixelHeight = 3000, .hasAlpha = false, .imageCount = 1}},
    };
    expectAll(cases);
}

TEST(ImageHeader, ReadsLayersAndItems)
{
    const Case cases[] = {
        {"a negative count says that the merged image is transparent",
         "psd",
         photoshop(3, joined({big(4), big(0xFFFE, 2), big(0, 2)})),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = false,
          .hasLayers = true}},
        {"deep layers stand in a tagged block",
         "psd",
         photoshop(4, joined({big(0), big(0), textBytes("8BIMLr16"), big(4), big(2, 2), big(0, 2)})),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = false,
          .hasLayers = true}},
        {"flattened",
         "psd",
         photoshop(3, {}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = false,
          .hasLayers = false}},
        {"tiles, alpha and thumbnail are not images of their own",
         "heic",
         heif(),
         {.pixelWidth = 1000,
          .pixelHeight = 600,
          .hasAlpha = true,
          .imageCount = 2,
          .bitsPerComponent = 10,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"a depth that nothing states",
         "heic",
         heif("free"),
         {.pixelWidth = 1000,
          .pixelHeight = 600,
          .hasAlpha = true,
          .imageCount = 2,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"a sequence beside stills has a duration",
         "avif",
         movingHeif(),
         {.pixelWidth = 1000,
          .pixelHeight = 600,
          .hasAlpha = true,
          .imageCount = 5,
          .bitsPerComponent = 10,
          .isFloatingPoint = false,
          .hasLocation = false,
          .durationSeconds = 2.5}},
        {"largest of a set, with a mask that is not counted",
         "icns",
         joined({textBytes("icns"), big(0), textBytes("is32"), big(8), textBytes("s8mk"), big(8), textBytes("ic09"),
                 big(8)}),
         {.pixelWidth = 512,
          .pixelHeight = 512,
          .hasAlpha = true,
          .imageCount = 2,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"256 is stored as 0",
         "ico",
         joined({bytes("00 00 01 00 02 00"), bytes("10 10 00 00 01 00 20 00"), big(0), big(0),
                 bytes("00 00 00 00 01 00 20 00"), big(0), big(0)}),
         {.pixelWidth = 256,
          .pixelHeight = 256,
          .hasAlpha = true,
          .imageCount = 2,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
    };
    expectAll(cases);
}

TEST(ImageHeader, ReadsDeepAndPlainRasters)
{
    const Bytes window = joined({little(10), little(10), little(46), little(30)});
    const Bytes channels = joined({exrChannel("A", 1), exrChannel("diffuse.R", 1), bytes("00")});
    const Bytes siz = joined({bytes("FF 4F FF 51 00 29 00 00"), big(47), big(31), big(10), big(10), repeated(0, 16),
                              big(3, 2), bytes("0B 01 01")});
    const Bytes opacity = box("cdef", bytes("00 02 00 00 00 00 00 01 00 01 00 01 00 00"));
    const Case cases[] = {
        {"rows from top to bottom, alpha by mask",
         "bmp",
         joined({repeated(0, 14), little(108), little(37), little(0xFFFFFFEB), little(1, 2), little(32, 2), little(3),
                 repeated(0, 20), little(0x00FF0000), little(0), little(0), little(0xFF000000), repeated(0, 52)}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"text that passes for a header", "tga", textBytes("0 1 2 3 4 5 6 7 8 9"), {}},
        {"32 bits, 8 of them alpha",
         "tga",
         joined({bytes("00 00 0A"), repeated(0, 9), bytes("25 00 15 00 20 28")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"32 bits whose alpha is not counted",
         "tga",
         joined({bytes("00 00 0A"), repeated(0, 9), bytes("25 00 15 00 20 20")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"16 bits, one of them alpha",
         "tga",
         joined({bytes("00 00 0A"), repeated(0, 9), bytes("25 00 15 00 10 21")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 5,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"a palette of 32 bits",
         "tga",
         joined({bytes("00 01 01 00 00 02 00 20"), repeated(0, 4), bytes("25 00 15 00 08 20")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"a window away from the origin, channels of a layer",
         "exr",
         joined({bytes("76 2F 31 01 02 00 00 00"), exrAttribute("channels", "chlist", channels),
                 exrAttribute("dataWindow", "box2i", window), bytes("00")}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = true,
          .hasLayers = true}},
        {"axes in the other order",
         "hdr",
         textBytes("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n+X 37 -Y 21\n"),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 32,
          .isFloatingPoint = true,
          .hasLocation = false}},
        {"a bare codestream with an offset",
         "jp2",
         siz,
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .imageCount = 1,
          .bitsPerComponent = 12,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"a position in the Exif of boxes, and a box of another kind",
         "jp2",
         joined({box("uuid", joined({textBytes("JpgTiffExif->JP2"), exif(2)})), box("uuid", repeated(7, 40)),
                 box("jp2c", siz)}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .imageCount = 1,
          .bitsPerComponent = 12,
          .isFloatingPoint = false,
          .hasLocation = true}},
        {"boxes with opacity",
         "jp2",
         box("jp2h", joined({box("ihdr", joined({big(21), big(37), big(2, 2), bytes("07 07 00 00")})), opacity})),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 1,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
    };
    expectAll(cases);
}

TEST(ImageHeader, UnpacksTheBitsOfJpegXl)
{
    // The first bytes of what the reference encoder wrote for images of 37 by 21 pixels.
    const Case cases[] = {
        {"a position in front of the picture",
         "jxl",
         joined({box("Exif", joined({big(0), exif(2)})), box("jxlc", bytes("FF 0A A0 50 FC 00 54 EE AD 22 08 08"))}),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = true}},
        {"16 bits, no alpha, bare",
         "jxl",
         bytes("FF 0A A0 50 FC 00 54 EE AD 22 08 08"),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = false,
          .imageCount = 1,
          .bitsPerComponent = 16,
          .isFloatingPoint = false,
          .hasLocation = false}},
        {"animated, with alpha",
         "jxl",
         bytes("FF 0A A0 50 41 00 16 14 97 04 08 08"),
         {.pixelWidth = 37,
          .pixelHeight = 21,
          .hasAlpha = true,
          .imageCount = 2,
          .bitsPerComponent = 8,
          .isFloatingPoint = false,
          .hasLocation = false}},
    };
    expectAll(cases);
}

TEST(ImageHeader, ReadsNoMoreThanItsBound)
{
    // A GIF of one endless frame: the size is known, the number of frames is not.
    Bytes endless = joined({textBytes("GIF89a"), bytes("25 00 15 00 00 00 00 2C 00 00 00 00 02 00 01 00 00 02")});
    endless.resize(4 * HeaderBytes::maxBytes, std::byte{0x40});
    const Case each{"", "gif", endless, {}};
    bool isUnderstood = false;
    const SourceProperties image = read(each, isUnderstood);
    EXPECT_TRUE(isUnderstood);
    EXPECT_EQ(image.imageCount, std::nullopt);
    EXPECT_EQ(image.pixelWidth, 37);
}

} // namespace
} // namespace nivex
