#include "NivexWorkers/Image/Libraries.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"
#include "NivexWorkers/Image/Pixels/Colors.hpp"
#include "NivexWorkers/Image/Pixels/Components.hpp"

#include <gtest/gtest.h>

#include <numeric>

namespace nivex::image {
namespace {

using vips::VImage;

class AdaptationTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { startLibraries(); }
};

constexpr WrittenPictures opaque{};
constexpr WrittenPictures transparent{.hasAlpha = true};
constexpr WrittenPictures deep{.depth = PixelDepth::sixteen, .hasAlpha = true};
constexpr WrittenPictures floating{.depth = PixelDepth::floating, .hasAlpha = true};
constexpr WrittenPictures tagged{.hasAlpha = true, .hasProfile = true};
constexpr WrittenPictures printed{.hasProfile = true, .hasCmyk = true};

VImage filled(std::vector<double> pixel, VipsInterpretation interpretation, int width = 4, int height = 2,
              VipsBandFormat format = VIPS_FORMAT_UCHAR)
{
    return VImage::black(width, height)
        .cast(format)
        .new_from_image(pixel)
        .copy(VImage::option()->set("interpretation", interpretation));
}

VImage rgb(double red, double green, double blue) { return filled({red, green, blue}, VIPS_INTERPRETATION_sRGB); }
VImage rgba(double red, double green, double blue, double alpha)
{
    return filled({red, green, blue, alpha}, VIPS_INTERPRETATION_sRGB);
}

VImage adaptedFrame(const VImage& frame, const WrittenPictures& target, const ConversionOptions& options = {})
{
    return adapted({.frames = {frame}}, target, options).first();
}

struct PixelCase {
    const char* name;
    VImage frame;
    const WrittenPictures& target;
    ConversionOptions options;
    VipsBandFormat format;
    std::vector<double> pixel;
    double tolerance = 0;
};

TEST_F(AdaptationTest, givesEachTargetPixelsThatItHolds)
{
    const ConversionOptions black{.flattenBackground = FlattenBackground::black};
    const ConversionOptions p3{.colorProfile = ColorProfilePolicy::displayP3};
    const ConversionOptions cmyk{.colorProfile = ColorProfilePolicy::cmyk};
    const VImage grey16 = filled({30'000}, VIPS_INTERPRETATION_GREY16, 4, 2, VIPS_FORMAT_USHORT);
    const VImage rgb16 = filled({65'535, 30'000, 0, 65'535}, VIPS_INTERPRETATION_RGB16, 4, 2, VIPS_FORMAT_USHORT);
    const VImage linear = filled({1, 0.2140, 4, 0.5}, VIPS_INTERPRETATION_scRGB, 4, 2, VIPS_FORMAT_FLOAT);
    const PixelCase cases[] = {
        {"opaque stays as it is", rgb(10, 20, 30), opaque, {}, VIPS_FORMAT_UCHAR, {10, 20, 30}},
        {"kept alpha", rgba(10, 20, 30, 40), transparent, {}, VIPS_FORMAT_UCHAR, {10, 20, 30, 40}},
        {"over white", rgba(10, 20, 30, 0), opaque, {}, VIPS_FORMAT_UCHAR, {255, 255, 255}},
        {"half over black", rgba(200, 100, 0, 128), opaque, black, VIPS_FORMAT_UCHAR, {100, 50, 0}, 1},
        {"16 bits kept", rgb16, deep, {}, VIPS_FORMAT_USHORT, {65'535, 30'000, 0, 65'535}},
        {"16 bits to 8, alpha too", rgb16, transparent, {}, VIPS_FORMAT_UCHAR, {255, 117, 0, 255}},
        {"16-bit grey to 8", grey16, opaque, {}, VIPS_FORMAT_UCHAR, {117}},
        {"linear light to 8 bits is cut at white", linear, transparent, {}, VIPS_FORMAT_UCHAR, {255, 127, 255, 128}, 1},
        {"linear light to 16 bits", linear, deep, {}, VIPS_FORMAT_USHORT, {65'535, 32'700, 65'535, 32'768}, 100},
        {"linear light kept", linear, floating, {}, VIPS_FORMAT_FLOAT, {1, 0.2140, 4, 0.5}, 1e-6},
        {"16 bits over white is white",
         filled({0, 0, 0, 0}, VIPS_INTERPRETATION_RGB16, 4, 2, VIPS_FORMAT_USHORT),
         opaque,
         {},
         VIPS_FORMAT_UCHAR,
         {255, 255, 255}},
        {"red of sRGB is less red in Display P3", rgb(255, 0, 0), tagged, p3, VIPS_FORMAT_UCHAR, {234, 51, 35}, 3},
        {"grey to Display P3 stays grey",
         filled({128}, VIPS_INTERPRETATION_B_W),
         tagged,
         p3,
         VIPS_FORMAT_UCHAR,
         {128, 128, 128},
         2},
        {"inks where they cannot be kept",
         filled({0, 0, 0, 0}, VIPS_INTERPRETATION_CMYK),
         tagged,
         {},
         VIPS_FORMAT_UCHAR,
         {255, 255, 255},
         4},
        {"inks are kept", filled({1, 2, 3, 4}, VIPS_INTERPRETATION_CMYK), printed, {}, VIPS_FORMAT_UCHAR, {1, 2, 3, 4}},
        {"inks of 16 bits to 8 stay inks",
         filled({257, 514, 771, 65'535}, VIPS_INTERPRETATION_CMYK, 4, 2, VIPS_FORMAT_USHORT),
         printed,
         {},
         VIPS_FORMAT_UCHAR,
         {1, 2, 3, 255}},
        {"inks of 16 bits where they cannot be kept",
         filled({0, 0, 0, 0}, VIPS_INTERPRETATION_CMYK, 4, 2, VIPS_FORMAT_USHORT),
         opaque,
         {},
         VIPS_FORMAT_UCHAR,
         {255, 255, 255},
         1},
        {"inks over white are less ink",
         filled({200, 100, 0, 50, 128}, VIPS_INTERPRETATION_CMYK),
         printed,
         {},
         VIPS_FORMAT_UCHAR,
         {100, 50, 0, 25},
         1},
        {"inks over black are black ink",
         filled({200, 100, 0, 50, 0}, VIPS_INTERPRETATION_CMYK),
         printed,
         black,
         VIPS_FORMAT_UCHAR,
         {0, 0, 0, 255}},
        {"white needs no ink", rgb(255, 255, 255), printed, cmyk, VIPS_FORMAT_UCHAR, {0, 0, 0, 0}, 3},
    };
    for (const PixelCase& each : cases) {
        SCOPED_TRACE(each.name);
        const VImage result = adaptedFrame(each.frame, each.target, each.options);
        EXPECT_EQ(result.format(), each.format);
        const std::vector<double> pixel = result.getpoint(1, 1);
        ASSERT_EQ(pixel.size(), each.pixel.size());
        for (std::size_t i = 0; i < pixel.size(); ++i)
            EXPECT_NEAR(pixel[i], each.pixel[i], each.tolerance) << "component " << i;
    }
}

TEST_F(AdaptationTest, linearLightComesBackAsItWas)
{
    const VImage frame = rgba(200, 100, 50, 64);
    const VImage linear = inLinearLight(frame);
    EXPECT_EQ(linear.format(), VIPS_FORMAT_FLOAT);
    EXPECT_NEAR(linear.getpoint(0, 0)[3], 64 / 255.0, 1e-6);
    EXPECT_EQ(adaptedFrame(linear, transparent).getpoint(0, 0), frame.getpoint(0, 0));
    EXPECT_EQ(inLinearLight(filled({128}, VIPS_INTERPRETATION_B_W)).bands(), 3);
}

TEST_F(AdaptationTest, embedsTheProfileThatFitsThePixels)
{
    const ConversionOptions p3{.colorProfile = ColorProfilePolicy::displayP3};
    const VImage inP3 = adaptedFrame(rgb(255, 0, 0), tagged, p3);
    EXPECT_TRUE(hasProfile(inP3));
    EXPECT_FALSE(hasProfile(adaptedFrame(rgb(255, 0, 0), tagged)));

    const VImage kept = adaptedFrame(inP3, tagged);
    EXPECT_TRUE(hasProfile(kept));
    EXPECT_EQ(kept.getpoint(0, 0), inP3.getpoint(0, 0)) << "preserving changes no pixel";

    const VImage bare = adaptedFrame(inP3, transparent);
    EXPECT_FALSE(hasProfile(bare)) << "a format without profiles gets sRGB";
    EXPECT_NEAR(bare.getpoint(0, 0)[0], 255, 1);
    EXPECT_NEAR(bare.getpoint(0, 0)[1], 0, 3);
}

TEST_F(AdaptationTest, turnsOnceAndScalesTheLongestSideExactly)
{
    VImage lying = rgb(1, 2, 3).embed(0, 0, 400, 300).copy();
    lying.set(VIPS_META_ORIENTATION, 6);
    const VImage standing = adaptedFrame(lying, opaque);
    EXPECT_EQ(standing.width(), 300);
    EXPECT_EQ(standing.height(), 400);
    EXPECT_EQ(standing.getpoint(299, 0), (std::vector<double>{1, 2, 3})) << "the first row is now the right column";
    EXPECT_EQ(standing.get_typeof(VIPS_META_ORIENTATION), 0u);

    const auto size = [](const VImage& image) { return std::pair{image.width(), image.height()}; };
    const VImage wide = rgb(1, 2, 3).embed(0, 0, 1'001, 3);
    EXPECT_EQ(size(adaptedFrame(wide, opaque, {.maxPixelDimension = 100})), (std::pair{100, 1})) << "no side is lost";
    EXPECT_EQ(size(adaptedFrame(wide, opaque, {.maxPixelDimension = 2'000})), (std::pair{1'001, 3}))
        << "never enlarged";
    EXPECT_EQ(size(adaptedFrame(wide, {.longestSide = 50})), (std::pair{50, 1}));
}

TEST_F(AdaptationTest, scalingMixesNoColourOfWhatIsTransparent)
{
    const VImage red = filled({255, 0, 0, 255}, VIPS_INTERPRETATION_sRGB, 100, 200);
    const VImage hiddenGreen = filled({0, 255, 0, 0}, VIPS_INTERPRETATION_sRGB, 100, 200);
    const VImage small =
        adaptedFrame(red.join(hiddenGreen, VIPS_DIRECTION_HORIZONTAL), transparent, {.maxPixelDimension = 21});
    for (int x = 0; x < small.width(); ++x) {
        if (const std::vector<double> pixel = small.getpoint(x, 5); pixel[3] > 10) {
            EXPECT_LT(pixel[1], 20) << "at " << x;
        }
    }
}

TEST_F(AdaptationTest, scalingMixesLight)
{
    const VImage places = VImage::xyz(64, 64);
    const VImage checker = ((places[0] + places[1]) % 2 * 255).cast(VIPS_FORMAT_UCHAR);
    const auto middle = [](const VImage& image, const WrittenPictures& target) {
        return adaptedFrame(image, target, {.maxPixelDimension = 16}).getpoint(8, 8);
    };
    const VImage grey = checker.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
    const VImage grey16 = (checker.cast(VIPS_FORMAT_USHORT) * 257)
                              .cast(VIPS_FORMAT_USHORT)
                              .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_GREY16));
    EXPECT_NEAR(middle(grey, opaque)[0], 188, 1) << "half of the light, not half of the number";
    EXPECT_NEAR(middle(grey16, deep)[0], 188 * 257, 257);
    EXPECT_NEAR(middle(grey.bandjoin(255), transparent)[0], 188, 1);
    EXPECT_EQ(middle(grey.bandjoin(255), transparent)[1], 255);
    for (const double value : {0.0, 1.0, 17.0, 128.0, 254.0, 255.0}) {
        const VImage even = filled({value, value, value}, VIPS_INTERPRETATION_sRGB, 64, 64);
        EXPECT_EQ(middle(even, opaque)[0], value) << "what is even stays as it is";
    }
}

TEST_F(AdaptationTest, keepsTheFramesThatTheTargetHolds)
{
    struct Row {
        FrameKind kind;
        KeptPictures kept;
        std::size_t frames;
    };
    const Row rows[] = {
        {FrameKind::animation, KeptPictures::animation, 3}, {FrameKind::animation, KeptPictures::pages, 1},
        {FrameKind::animation, KeptPictures::first, 1},     {FrameKind::pages, KeptPictures::pages, 3},
        {FrameKind::pages, KeptPictures::animation, 1},     {FrameKind::pages, KeptPictures::sizes, 1},
        {FrameKind::sizes, KeptPictures::sizes, 3},         {FrameKind::sizes, KeptPictures::pages, 3},
        {FrameKind::sizes, KeptPictures::first, 1},
    };
    for (const Row& row : rows) {
        const Picture picture{
            .frames = {rgb(1, 1, 1), rgb(2, 2, 2), rgb(3, 3, 3)}, .kind = row.kind, .delays = {10, 20, 30}};
        const Picture result = adapted(picture, {.pictures = row.kept}, {});
        EXPECT_EQ(result.frames.size(), row.frames);
        EXPECT_EQ(result.kind, row.frames == 1 ? FrameKind::single : row.kind);
        EXPECT_EQ(result.first().getpoint(0, 0)[0], 1);
    }
}

TEST_F(AdaptationTest, rareComponentsBecomeUsualOnes)
{
    struct Row {
        const char* name;
        VImage image;
        VipsBandFormat format;
        std::vector<double> pixel;
    };
    const auto made = [](std::vector<double> pixel, VipsBandFormat format, VipsInterpretation interpretation) {
        return filled(std::move(pixel), interpretation, 4, 2, format);
    };
    const Row rows[] = {
        {"32-bit whole numbers",
         made({4'294'967'295, 0, 2'147'483'648}, VIPS_FORMAT_UINT, VIPS_INTERPRETATION_RGB),
         VIPS_FORMAT_USHORT,
         {65'535, 0, 32'768}},
        {"signed bytes", made({-128}, VIPS_FORMAT_CHAR, VIPS_INTERPRETATION_B_W), VIPS_FORMAT_UCHAR, {0}},
        {"double precision grey",
         made({0.5}, VIPS_FORMAT_DOUBLE, VIPS_INTERPRETATION_B_W),
         VIPS_FORMAT_FLOAT,
         {0.5, 0.5, 0.5}},
        {"more samples than a pixel has",
         made({1, 2, 3, 4, 5, 6}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_MULTIBAND),
         VIPS_FORMAT_UCHAR,
         {1, 2, 3, 4}},
        {"white in Lab",
         made({100, 0, 0}, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_LAB),
         VIPS_FORMAT_USHORT,
         {65'535, 65'535, 65'535}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const VImage result = withUsualComponents(row.image);
        EXPECT_EQ(result.format(), row.format);
        const std::vector<double> pixel = result.getpoint(0, 0);
        ASSERT_EQ(pixel.size(), row.pixel.size());
        for (std::size_t i = 0; i < pixel.size(); ++i)
            EXPECT_NEAR(pixel[i], row.pixel[i], 5) << "component " << i;
    }
}

} // namespace
} // namespace nivex::image
