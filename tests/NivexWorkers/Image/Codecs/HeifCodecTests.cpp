#include "NivexWorkers/Image/Codecs/Heif/HeifColors.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifReferences.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Texture.hpp"

#include "NivexKit/Structures/IsoBoxes.hpp"
#include "tests/NivexWorkers/Image/PictureScene.hpp"
#include "tests/Support/Bytes.hpp"

namespace nivex::image {
namespace {

using vips::VImage;

// x265 3.5 leaks its parameters; a worker's child ends after the job.
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265\n"; }

class HeifCodec : public testing::PictureScene {
protected:
    /// A picture of one colour.
    static VImage flat(std::vector<double> color, VipsBandFormat format, VipsInterpretation colors, int width = 20,
                       int height = 12)
    {
        return (VImage::black(width, height) + color)
            .cast(format)
            .copy(VImage::option()->set("interpretation", colors))
            .copy_memory();
    }

    static VImage straightBlend(int width, int height)
    {
        const VImage place = VImage::xyz(width, height);
        return (place[0] * 255 / width)
            .bandjoin({place[1] * 255 / height, (place[0] + place[1]) * 255 / (width + height)})
            .cast(VIPS_FORMAT_UCHAR)
            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
            .copy_memory();
    }
};

TEST_F(HeifCodec, KeepsEveryBitOfAvifAndNearlyEveryOneOfHeicAtFullQuality)
{
    const struct {
        int bands;
        VipsBandFormat format;
        VipsInterpretation colors;
        double heicError; // 1 in 8 bits by the rounding of colours; deep pictures have 10 of their 16 bits
        double avifError; // deep pictures have 12 of their 16 bits
    } kinds[] = {
        {1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, 0, 0},
        {2, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, 0, 0},
        {3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, 2, 0},
        {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, 2, 0},
        {1, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16, 64, 16},
        {3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16, 192, 16},
        {4, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16, 192, 16},
    };
    for (const auto& kind : kinds)
        for (const auto& [width, height] : {std::pair{96, 64}, {61, 47}, {1, 1}, {3, 130}}) {
            SCOPED_TRACE(std::to_string(kind.bands) + " bands, " + std::to_string(width) + " wide, format " +
                         std::to_string(kind.format));
            const VImage image = pixels(width, height, kind.bands, kind.format, kind.colors);
            // libheif cuts a HEIC picture of such a size out of a larger one, and makes colour of grey on reading it.
            if (kind.bands > 2 || width % 2 == 0) {
                EXPECT_LE(difference(read("heic", written("heic", {.frames = {image}})).first(), image),
                          kind.heicError);
            }
            EXPECT_LE(difference(read("avif", written("avif", {.frames = {image}})).first(), image), kind.avifError);
        }
}

TEST_F(HeifCodec, SpreadsDeepSamplesOverTheWholeRange)
{
    for (const std::string_view format : {"heic", "avif"}) {
        const VImage white = flat({65'535, 65'535, 65'535}, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16);
        EXPECT_EQ(read(format, written(format, {.frames = {white}})).first().min(), 65'535) << format;
    }
}

TEST_F(HeifCodec, HigherQualityTakesMoreBytesForLessError)
{
    const VImage image = straightBlend(302, 202);
    for (const std::string_view format : {"heic", "avif"}) {
        std::size_t smaller = 0;
        for (const double quality : {0.0, 0.3, 0.6, 0.85, 0.95, 1.0}) {
            const std::size_t size = written(format, {.frames = {image}}, quality).size();
            EXPECT_GT(size, smaller) << format << " at " << quality;
            smaller = size;
        }
    }
}

TEST_F(HeifCodec, DrawingsStaySharpForFewBytes)
{
    VImage drawing = flat({250, 250, 250}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, 400, 300);
    for (int i = 0; i < 40; ++i) // thin lines, which differ in colour more than in brightness
        drawing.draw_line(i % 2 == 0 ? std::vector<double>{220, 0, 0} : std::vector<double>{0, 90, 255}, 7 * i, 3,
                          390 - 5 * i, 20 + 6 * i);
    const auto meanError = [&](std::string_view format, const std::string& file) {
        return (read(format, file).first() - drawing).abs().avg();
    };
    const std::string avif = written("avif", {.frames = {drawing}}, 0.85);
    EXPECT_LT(avif.size(), 8'000u);
    EXPECT_LT(meanError("avif", avif), 0.5) << "colours of lines are not kept apart";
    const std::string heic = written("heic", {.frames = {drawing}}, 0.85);
    EXPECT_LT(heic.size(), 18'000u);
    EXPECT_LT(meanError("heic", heic), 5);
}

TEST(Texture, TellsDrawingsFromPhotographs)
{
    const auto textureOf = [](auto sample, int count) {
        Texture texture;
        std::vector<decltype(sample(0))> row;
        for (int x = 0; x < count; ++x)
            for (int band = 0; band < 3; ++band)
                row.push_back(band == 1 ? sample(x) : 0); // green decides
        texture.add(row, 3);
        return texture;
    };
    const auto text = [](int x) -> std::uint8_t { return x % 20 == 0 ? 10 : 255; };
    const auto noise = [](int x) -> std::uint8_t { return static_cast<std::uint8_t>(100 + x * 7919 % 13); };
    const auto edge = [](int x) -> std::uint8_t { return static_cast<std::uint8_t>(x < 500 ? 20 + x % 2 : 200); };
    const auto plain = [](int) -> std::uint8_t { return 255; };
    const auto deepText = [&](int x) -> std::uint16_t { return static_cast<std::uint16_t>(text(x) * 256 + x % 90); };
    EXPECT_TRUE(textureOf(text, 1000).isDrawing());
    EXPECT_TRUE(textureOf(deepText, 1000).isDrawing());
    EXPECT_NEAR(textureOf(deepText, 1000).busyness(), textureOf(text, 1000).busyness(), 0.1);
    EXPECT_FALSE(textureOf(noise, 1000).isDrawing());
    EXPECT_FALSE(textureOf(edge, 1000).isDrawing()) << "a photograph with one edge";
    EXPECT_FALSE(textureOf(plain, 1000).isDrawing());
    for (const int width : {0, 1, 2})
        EXPECT_EQ(textureOf(text, width).busyness(), 0);
}

TEST_F(HeifCodec, KeepsPicturesInOrderWithMetadataAndProfile)
{
    const VImage second = pixels(40, 30, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    const VImage first = pixels(50, 20, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)
                             .icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
    const std::string exif{"MM\0*\0\0\0\x08\0\0\0\0\0\0", 14};
    Metadata metadata{.xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>"};
    for (const char each : exif)
        metadata.exif.push_back(static_cast<std::byte>(each));
    const Picture written{.frames = {first, second}, .kind = FrameKind::pages, .metadata = metadata};
    const Picture found = read("heic", HeifCodec::written("heic", written));
    ASSERT_EQ(found.frames.size(), 2u);
    EXPECT_EQ(found.kind, FrameKind::pages);
    EXPECT_EQ(profileOf(found.first()), profileOf(first));
    EXPECT_FALSE(hasProfile(found.frames[1]));
    EXPECT_LE(difference(found.frames[1], second), 2);
    EXPECT_EQ(found.metadata.exif, metadata.exif);
    EXPECT_EQ(found.metadata.xmp, metadata.xmp);
}

TEST_F(HeifCodec, RefusesEveryFileThatIsCutShort)
{
    const VImage image = straightBlend(150, 100);
    for (const std::string_view format : {"heic", "avif"}) {
        SCOPED_TRACE(format);
        EXPECT_THAT(acceptedPrefixes(format, written(format, {.frames = {image}}, 0.9), 97), ::testing::IsEmpty());
    }
}

TEST_F(HeifCodec, RefusesLargePicturesBeforeDecodingThem)
{
    std::string file = written("heic", {.frames = {straightBlend(64, 64)}});
    const std::size_t size = file.find("ispe") + 8; // width and height (ISO/IEC 23008-12, 6.5.3)
    file.replace(size, 8, std::string{"\0\0\x80\0\0\0\x80\0", 8});
    EXPECT_THAT(refusal("heic", file), ::testing::HasSubstr("mégapixels"));
}

TEST(HeifReferences, NoItemIsPartOfItself)
{
    using nivex::testing::bytes;
    using nivex::testing::joined;
    // "meta" with the boxes in "iref", whose identifiers take two bytes (ISO/IEC 14496-12, 8.11.12).
    const auto isCircular = [](std::initializer_list<std::vector<std::byte>> references) {
        ByteWriter file{ByteOrder::big};
        putBox(file, "ftyp", [](ByteWriter& box) { box.text("heic").u32(0); });
        putBox(file, "meta", [&](ByteWriter& meta) {
            putBox(meta.u32(0), "pitm", [](ByteWriter& box) { box.u32(0).u16(1); });
            putBox(meta, "iref", [&](ByteWriter& box) { box.u32(0).bytes(joined(references)); });
        });
        return hasCircularItems(MemorySource{std::as_bytes(std::span{file.view()})});
    };
    const auto tiles = bytes("0000 0010 64 69 6D 67  0001 0002 0002 0003"); // 1 is made of 2 and 3
    const auto alpha = bytes("0000 000E 61 75 78 6C  0004 0001 0001");      // 4 is the transparency of 1
    const auto alphaTiles = bytes("0000 0010 64 69 6D 67  0004 0002 0005 0005");
    const auto tileAlpha = bytes("0000 000E 61 75 78 6C  0005 0001 0002");
    EXPECT_FALSE(isCircular({}));
    EXPECT_FALSE(isCircular({tiles, alpha, alphaTiles, tileAlpha}));
    EXPECT_FALSE(isCircular({tiles, bytes("0000 000E 74 68 6D 62  0002 0001 0001")})); // a thumbnail is no part
    EXPECT_TRUE(isCircular({bytes("0000 000E 64 69 6D 67  0003 0001 0003")}));
    EXPECT_TRUE(isCircular({tiles, bytes("0000 000E 64 69 6D 67  0003 0001 0001")}));
    EXPECT_TRUE(isCircular({tiles, alpha, bytes("0000 000E 64 69 6D 67  0004 0001 0001")}));
}

TEST(HeifColors, AreSrgbsOrBecomeAProfile)
{
    const auto light = [](int primaries, int transfer, double signal) {
        heif_color_profile_nclx* const colors = heif_nclx_color_profile_alloc();
        heif_nclx_color_profile_set_color_primaries(colors, static_cast<std::uint16_t>(primaries));
        heif_nclx_color_profile_set_transfer_characteristics(colors, static_cast<std::uint16_t>(transfer));
        const std::string profile = profileOfCodedColors(*colors);
        heif_nclx_color_profile_free(colors);
        if (profile.empty())
            return std::vector<double>{};
        VImage grey = (VImage::black(1, 1) + std::vector<double>(3, signal * 65'535))
                          .cast(VIPS_FORMAT_USHORT)
                          .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
        embedProfile(grey, profile);
        EXPECT_TRUE(hasProfile(grey));
        return grey.icc_import(VImage::option()->set("embedded", true)->set("pcs", VIPS_PCS_XYZ)).getpoint(0, 0);
    };
    EXPECT_THAT(light(1, 13, 0.5), ::testing::IsEmpty());
    EXPECT_THAT(light(2, 2, 0.5), ::testing::IsEmpty());
    EXPECT_THAT(light(1, 1, 0.5), ::testing::IsEmpty());
    const struct {
        const char* name;
        int primaries;
        int transfer;
        double signal;
        double luminance; // of 100
    } cases[] = {
        {"P3 has sRGB's curve", 12, 13, 0.5, 21.4},      {"linear light", 1, 8, 0.5, 50},
        {"PQ stays white beyond", 9, 16, 0.9, 100},      {"PQ at 100 cd/m²", 9, 16, 0.5081, 49.3},
        {"HLG reaches white at 75 %", 9, 18, 0.75, 100}, {"HLG at half", 9, 18, 0.5, 25},
    };
    for (const auto& each : cases) {
        const std::vector<double> found = light(each.primaries, each.transfer, each.signal);
        ASSERT_EQ(found.size(), 3u) << each.name;
        EXPECT_NEAR(found[1], each.luminance, 0.5) << each.name;
        EXPECT_NEAR(found[0] / found[1], 0.9505, 0.005) << each.name << ": grey is not neutral"; // D65
    }
}

} // namespace
} // namespace nivex::image
