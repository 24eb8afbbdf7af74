// The strips of PNG and TIFF files, decoded by libpng and libtiff.
#include "tests/NivexWorkers/Image/PictureScene.hpp"

#include <tiffio.h>

namespace nivex::image {
namespace {

using vips::VImage;

struct Kind {
    const char* name;
    int bands;
    VipsBandFormat format;
    VipsInterpretation colors;
};

constexpr Kind grey{"grey", 1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W};
constexpr Kind greyAlpha{"grey, alpha", 2, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W};
constexpr Kind rgb{"RGB", 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB};
constexpr Kind rgba{"RGB, alpha", 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB};
constexpr Kind deepGrey{"deep grey", 1, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16};
constexpr Kind deepGreyAlpha{"deep grey, alpha", 2, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16};
constexpr Kind deepRgb{"deep RGB", 3, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16};
constexpr Kind deepRgba{"deep RGB, alpha", 4, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_RGB16};
constexpr Kind cmyk{"CMYK", 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK};
constexpr Kind cmykAlpha{"CMYK, alpha", 5, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK};
constexpr Kind floating{"floating", 3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB};
constexpr Kind floatingAlpha{"floating, alpha", 4, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB};

class LosslessWriters : public testing::PictureScene {
protected:
    /// A drawing above, of which rows are written as they are, and noise below, of which differences are.
    static VImage mixed(const VImage& noise)
    {
        const VImage steps = (VImage::xyz(noise.width(), noise.height()) / 16).floor() * 16;
        const VImage drawing = VImage::bandjoin(std::vector<VImage>(static_cast<std::size_t>(noise.bands()), steps[1]));
        const VImage isAbove = VImage::xyz(noise.width(), noise.height())[1] < noise.height() / 2;
        return isAbove.ifthenelse(drawing.cast(noise.format()), noise)
            .copy(VImage::option()->set("interpretation", noise.interpretation()))
            .copy_memory();
    }

    void expectSame(std::string_view format, const Kind& kind, int width, int height)
    {
        SCOPED_TRACE(std::string{format} + ", " + kind.name + ", " + std::to_string(width) + " × " +
                     std::to_string(height));
        const VImage image = mixed(pixels(width, height, kind.bands, kind.format, kind.colors));
        const Picture again = read(format, written(format, {.frames = {image}}));
        EXPECT_EQ(difference(again.first(), image), 0);
    }
};

TEST_F(LosslessWriters, KeepEverySampleOfEveryKind)
{
    for (const Kind& kind : {grey, greyAlpha, rgb, rgba, deepGrey, deepGreyAlpha, deepRgb, deepRgba})
        for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {1, 900}, {900, 1}, {401, 401}})
            expectSame("png", kind, width, height);
    expectSame("png", rgb, 901, 901); // of several strips
    for (const Kind& kind : {grey, greyAlpha, rgb, rgba, deepGrey, deepRgba, cmyk, cmykAlpha, floating, floatingAlpha})
        for (const auto& [width, height] : {std::pair{1, 1}, {7, 5}, {1, 900}, {900, 1}, {401, 401}})
            expectSame("tiff", kind, width, height);
}

TEST_F(LosslessWriters, TellProfileAndResolution)
{
    const VImage image = pixels(9, 9, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)
                             .icc_export(VImage::option()->set("output_profile", "srgb"))
                             .copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 150 / 25.4));
    std::size_t expected = 0;
    ASSERT_NE(image.get_blob(VIPS_META_ICC_NAME, &expected), nullptr);
    for (const char* format : {"png", "tiff"}) {
        const VImage again = read(format, written(format, {.frames = {image}})).first();
        std::size_t found = 0;
        again.get_blob(VIPS_META_ICC_NAME, &found);
        EXPECT_EQ(found, expected) << format;
        EXPECT_NEAR(again.xres() * 25.4, 300, 0.02) << format;
        EXPECT_NEAR(again.yres() * 25.4, 150, 0.02) << format;
    }
}

TEST_F(LosslessWriters, WriteDrawingsAndPhotographsEachInItsWay)
{
    const VImage noise = pixels(800, 800, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    const VImage gradient = VImage::xyz(800, 800)[0].cast(VIPS_FORMAT_UCHAR).copy_memory(); // of differences of 1
    const VImage drawing = mixed(noise).extract_area(0, 0, 800, 400);
    EXPECT_LT(written("png", {.frames = {drawing}}).size(), 6'000u);
    EXPECT_LT(written("png", {.frames = {gradient}}).size(), 3'000u);
    EXPECT_LT(written("png", {.frames = {noise}}).size(), 800u * 800 * 3 * 101 / 100);
}

} // namespace
} // namespace nivex::image
