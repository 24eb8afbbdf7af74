#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Image/Reading.hpp"

#include "tests/NivexWorkers/Image/PictureScene.hpp"

#include <limits>

namespace nivex::image {
namespace {

using vips::VImage;

class Pulling : public testing::PictureScene {
protected:
    bool isWhole(std::string_view format, std::string_view contents)
    {
        const nivex::testing::TemporaryFolder folder;
        const auto file = folder.write("picture", contents);
        forgetErrors();
        try {
            pullPixels(codec(format).read({.file = file, .format = format, .limits = ResourceLimits::standard()}));
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }
};

TEST_F(Pulling, SeesWhatOnlyPixelsShow)
{
    const VImage wide = pixels(300, 200, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB);
    for (const char* format : {"png", "jpeg", "gif", "tiff", "jxl"}) {
        std::string file = written(format, {.frames = {wide}});
        EXPECT_TRUE(isWhole(format, file)) << format;
        for (std::size_t i = 0; i < file.size() / 3; ++i)
            file[file.size() / 2 + i] = static_cast<char>(i * 37 ^ i >> 3);
        EXPECT_FALSE(isWhole(format, file)) << format;
    }
}

TEST_F(Pulling, TakesPixelsThatAreNoNumbers)
{
    VImage floating = pixels(20, 20, 3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB);
    floating.draw_rect({std::numeric_limits<double>::quiet_NaN()}, 3, 3, 4, 4);
    EXPECT_TRUE(isWhole("exr", written("exr", {.frames = {floating}})));
}

} // namespace
} // namespace nivex::image
