#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Libraries.hpp"

#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace nivex::image {
namespace {

using vips::VImage;

VImage page(int width, int height, std::vector<double> pixel, VipsBandFormat format, VipsInterpretation interpretation)
{
    return VImage::black(width, height)
        .cast(format)
        .new_from_image(pixel)
        .copy(VImage::option()->set("interpretation", interpretation));
}

TEST(TiffCodec, keepsPagesOfDifferentSizesAndDepths)
{
    startLibraries();
    const testing::TemporaryFolder folder;
    const std::filesystem::path file = folder / "pages.tiff";
    const Picture picture{.frames = {page(30, 20, {10, 20, 30}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB),
                                     page(7, 900, {65'535}, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16),
                                     page(5, 5, {1, 2, 3, 128}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB),
                                     page(5, 5, {4, 3, 2, 1}, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK),
                                     page(9, 9, {0.5, 2, 0.25}, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB)},
                          .kind = FrameKind::pages};
    double last = 0;
    const ProgressCallback progress = [&last](std::optional<double> fraction) { last = fraction.value(); };
    writeTiff(picture, {.file = file, .progress = progress});
    EXPECT_NEAR(last, 1, 0.01);

    const Picture read =
        readTiff({.file = file, .format = "tiff", .limits = ResourceLimits::standard(), .wantsAllFrames = true});
    EXPECT_EQ(read.kind, FrameKind::pages);
    ASSERT_EQ(read.frames.size(), picture.frames.size());
    for (std::size_t i = 0; i < read.frames.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(read.frames[i].interpretation(), picture.frames[i].interpretation());
        EXPECT_EQ(read.frames[i].height(), picture.frames[i].height());
        EXPECT_EQ((read.frames[i] - picture.frames[i]).abs().max(), 0);
    }
}

} // namespace
} // namespace nivex::image
