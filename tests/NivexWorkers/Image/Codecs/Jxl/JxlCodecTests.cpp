#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "tests/NivexWorkers/Image/PictureScene.hpp"
#include "tests/Support/Bytes.hpp"

namespace nivex::image {
namespace {

using vips::VImage;

class JxlCodec : public testing::PictureScene {};

TEST_F(JxlCodec, KeepsEveryBitAtFullQuality)
{
    const struct {
        int bands;
        VipsBandFormat format;
        VipsInterpretation colors;
    } kinds[] = {
        {1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W},    {2, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16},
        {3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16}, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB},
        {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB},  {4, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB},
    };
    for (const auto& kind : kinds)
        for (const auto& [width, height] : {std::pair{61, 47}, {1, 1}, {300, 3}}) {
            SCOPED_TRACE(std::to_string(kind.bands) + " bands, " + std::to_string(width));
            const VImage image = pixels(width, height, kind.bands, kind.format, kind.colors);
            EXPECT_EQ(difference(read("jxl", written("jxl", {.frames = {image}})).first(), image), 0);
        }
}

TEST_F(JxlCodec, StaysCloseAtLowerQuality)
{
    const VImage flat = VImage::black(64, 64, VImage::option()->set("bands", 4))
                            .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB)) +
                        std::vector<double>{200, 100, 50, 128};
    const VImage image = flat.cast(VIPS_FORMAT_UCHAR).copy_memory();
    EXPECT_LE(difference(read("jxl", written("jxl", {.frames = {image}}, 0.85)).first(), image), 3);
    const VImage bright = (flat / 64)
                              .cast(VIPS_FORMAT_FLOAT)
                              .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB))
                              .copy_memory();
    const VImage opaque = bright.extract_band(0, VImage::option()->set("n", 3)); // 3.1 times white
    EXPECT_LE(difference(read("jxl", written("jxl", {.frames = {opaque}}, 0.85)).first(), opaque), 0.1);
}

TEST_F(JxlCodec, KeepsProfileExifAndXmp)
{
    const VImage image = pixels(20, 20, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)
                             .icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
    Picture picture{.frames = {image}};
    picture.metadata.exif = nivex::testing::bytes("4D 4D 00 2A 00 00 00 08 00 00 00 00 00 00");
    picture.metadata.xmp = std::string(100'000, ' ') + "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
    const Picture back = read("jxl", written("jxl", picture, 1));
    EXPECT_EQ(profileOf(back.first()), profileOf(image));
    EXPECT_EQ(back.metadata.exif, picture.metadata.exif);
    EXPECT_EQ(back.metadata.xmp, picture.metadata.xmp);
}

TEST_F(JxlCodec, KeepsAnimations)
{
    Picture picture{.kind = FrameKind::animation, .delays = {40, 1000, 70}, .loops = 3};
    for (int i = 0; i < 3; ++i)
        picture.frames.push_back(pixels(20 + 0, 10, 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)
                                     .rot(i == 1 ? VIPS_ANGLE_D180 : VIPS_ANGLE_D0));
    const std::string file = written("jxl", picture);
    const Picture back = read("jxl", file);
    EXPECT_EQ(back.kind, FrameKind::animation);
    EXPECT_EQ(back.delays, picture.delays);
    EXPECT_EQ(back.loops, 3);
    ASSERT_EQ(back.frames.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(difference(back.frames[i], picture.frames[i]), 0);

    const Picture first = read("jxl", file, 0, false);
    EXPECT_EQ(first.kind, FrameKind::single);
    ASSERT_EQ(first.frames.size(), 1u);
    EXPECT_EQ(difference(first.first(), picture.first()), 0);
}

TEST_F(JxlCodec, CountsTheFramesOfAnAnimationAgainstTheLimit)
{
    Picture picture{.kind = FrameKind::animation, .delays = {40, 40, 40}};
    for (int i = 0; i < 3; ++i) // 400,000 pixels each; the limit of these tests is a million
        picture.frames.push_back(pixels(1000, 400, 1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W));
    EXPECT_THAT(refusal("jxl", written("jxl", picture)), ::testing::HasSubstr("mégapixel"));
}

TEST_F(JxlCodec, RefusesWhatWasCutShort)
{
    Picture picture{.frames = {pixels(70, 50, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)}};
    EXPECT_THAT(acceptedPrefixes("jxl", written("jxl", picture, 0.8), 31), ::testing::IsEmpty());
    picture.metadata.xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
    EXPECT_THAT(acceptedPrefixes("jxl", written("jxl", picture, 1), 61), ::testing::IsEmpty());
}

} // namespace
} // namespace nivex::image
