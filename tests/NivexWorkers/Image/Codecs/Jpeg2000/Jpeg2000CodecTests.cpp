#include "NivexWorkers/Image/Codecs/Jpeg2000/Jpeg2000Boxes.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "tests/NivexWorkers/Image/PictureScene.hpp"
#include "tests/Support/Bytes.hpp"

namespace nivex::image {
namespace {

using nivex::testing::bytes;
using nivex::testing::characters;
using vips::VImage;

class Jpeg2000Codec : public testing::PictureScene {
protected:
    /// A JP2 file around the codestream of grey pixels, with these boxes after the image header.
    std::string wrapped(const VImage& grey, std::string_view boxes)
    {
        std::string file = written("jp2", {.frames = {grey}});
        const std::size_t colors = file.find("colr") - 4;
        const std::size_t size = 15; // of the colour box with an enumerated space
        file.replace(colors, size, boxes);
        const std::size_t header = file.find("jp2h") - 4;
        const std::size_t length = 8 + 22 + boxes.size();
        file[header + 2] = static_cast<char>(length >> 8);
        file[header + 3] = static_cast<char>(length);
        return file;
    }

    static std::string hexBytes(std::string_view hexadecimal) { return std::string{characters(bytes(hexadecimal))}; }
};

TEST_F(Jpeg2000Codec, KeepsEveryBitAtFullQuality)
{
    const struct {
        int bands;
        VipsBandFormat format;
        VipsInterpretation colors;
    } kinds[] = {
        {1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W},    {2, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16},
        {3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16}, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB},
        {4, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16},
    };
    for (const auto& kind : kinds)
        for (const auto& [width, height] : {std::pair{61, 47}, {1, 1}, {1, 300}, {5, 2}}) {
            SCOPED_TRACE(std::to_string(kind.bands) + " bands, " + std::to_string(width));
            const VImage image = pixels(width, height, kind.bands, kind.format, kind.colors);
            EXPECT_EQ(difference(read("jp2", written("jp2", {.frames = {image}})).first(), image), 0);
        }
}

TEST_F(Jpeg2000Codec, KeepsTheColourOfTinyPictures)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {2, 2}, {7, 1}, {1, 16}, {20, 20}}) {
        const VImage image = pixels(width, height, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
        EXPECT_LE(difference(image, read("jp2", written("jp2", {.frames = {image}}, 0.85)).first()), 2)
            << width << " x " << height;
    }
}

TEST_F(Jpeg2000Codec, EncodesTilesOfLargePicturesInTheirPlaces)
{
    const VImage image = pixels(4100, 9, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    EXPECT_EQ(difference(read("jp2", written("jp2", {.frames = {image}})).first(), image), 0);
    const VImage high = pixels(3, 8200, 2, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W);
    EXPECT_EQ(difference(read("jp2", written("jp2", {.frames = {high}})).first(), high), 0);
}

TEST_F(Jpeg2000Codec, MeetsAGoalInBytesFromBelow)
{
    const VImage image = pixels(500, 400, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    for (const std::int64_t goal : {20'000, 60'000}) {
        const auto size = static_cast<std::int64_t>(written("jp2", {.frames = {image}}, 0.85, goal).size());
        EXPECT_LE(size, goal);
        EXPECT_GT(size, goal * 97 / 100);
    }
}

TEST_F(Jpeg2000Codec, KeepsProfileAndResolution)
{
    VImage image = pixels(20, 20, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)
                       .icc_transform("p3", VImage::option()->set("input_profile", "srgb"))
                       .copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 150 / 25.4));
    const VImage read = Jpeg2000Codec::read("jp2", written("jp2", {.frames = {image}})).first();
    EXPECT_EQ(profileOf(read), profileOf(image));
    EXPECT_NEAR(read.xres() * 25.4, 300, 0.02);
    EXPECT_NEAR(read.yres() * 25.4, 150, 0.02);
}

TEST_F(Jpeg2000Codec, ReadsASmallerPictureWhenThatIsEnough)
{
    const VImage image = pixels(203, 100, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    const std::string file = written("jp2", {.frames = {image}});
    EXPECT_EQ(read("jp2", file, 60).first().width(), 102);
    EXPECT_EQ(read("jp2", file, 50).first().width(), 51);
    EXPECT_EQ(read("jp2", file, 203).first().width(), 203);
}

TEST_F(Jpeg2000Codec, AppliesPalettesAndChannelDefinitions)
{
    std::uint8_t indices[] = {0, 1, 2, 1};
    const VImage grey = VImage::new_from_memory(indices, sizeof indices, 4, 1, 1, VIPS_FORMAT_UCHAR)
                            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
    const std::string colors = "00 00 00 0F 63 6F 6C 72 01 00 00 00 00 00 10";
    // Three colours of blue, green, red and alpha; `cdef` sorts them into red, green, blue, alpha.
    const std::string palette = "00 00 00 1B 70 63 6C 72 00 03 04 07 07 07 07  01 02 03 04 11 12 13 14 21 22 23 24"
                                "00 00 00 18 63 6D 61 70 00 00 01 00 00 00 01 01 00 00 01 02 00 00 01 03";
    const std::string definitions = "00 00 00 22 63 64 65 66 00 04"
                                    "00 00 00 00 00 03  00 01 00 00 00 02  00 02 00 00 00 01  00 03 00 01 00 00";
    const VImage image = read("jp2", wrapped(grey, hexBytes(colors + palette + definitions))).first();
    ASSERT_EQ(image.bands(), 4);
    EXPECT_EQ(image.getpoint(0, 0), (std::vector<double>{3, 2, 1, 4}));
    EXPECT_EQ(image.getpoint(2, 0), (std::vector<double>{0x23, 0x22, 0x21, 0x24}));

    const std::string outside = "00 00 00 18 63 6D 61 70 00 00 01 00 00 00 01 01 00 00 01 02 00 00 01 07";
    const std::string cut = palette.substr(0, palette.find("00 00 00 18"));
    EXPECT_EQ(refusal("jp2", wrapped(grey, hexBytes(colors + cut + outside))), damaged({}).message());
}

TEST_F(Jpeg2000Codec, RefusesWhatWasCutShort)
{
    const VImage image = pixels(70, 50, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    EXPECT_THAT(acceptedPrefixes("jp2", written("jp2", {.frames = {image}}), 37), ::testing::IsEmpty());
    const std::string bare = written("jp2", {.frames = {image}});
    const std::string codestream = bare.substr(bare.find("jp2c") + 4);
    EXPECT_EQ(refusal("jp2", codestream), "");
    EXPECT_THAT(acceptedPrefixes("jp2", codestream, 37), ::testing::IsEmpty());
}

TEST_F(Jpeg2000Codec, RefusesAnnouncedSizesBeforeAllocating)
{
    std::string file = written("jp2", {.frames = {pixels(8, 8, 1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W)}});
    const std::size_t size = file.find(hexBytes("FF 4F FF 51")) + 8;
    const struct {
        const char* name;
        std::size_t at;
        const char* bytes;
        const char* message;
    } cases[] = {
        {"four thousand megapixels", 0, "00 00 FF FF 00 00 FF FF 00 00 00 00 00 00 00 00 00 00 FF FF 00 00 FF FF",
         "mégapixel"},
        {"tiles of one pixel for a large picture", 0, "00 00 40 00 00 00 00 08 00 00 00 00 00 00 00 00 00 00 00 01",
         "endommagé"},
        {"sixteen thousand components", 32, "40 00", "endommagé"},
        {"no columns", 0, "00 00 00 00", "endommagé"},
        {"a step of nothing", 35, "00", "endommagé"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const std::string patch = hexBytes(each.bytes);
        std::string forged = file;
        forged.replace(size + each.at, patch.size(), patch);
        EXPECT_THAT(refusal("jp2", forged), ::testing::HasSubstr(each.message));
    }
}

} // namespace
} // namespace nivex::image
