#include "tests/NivexWorkers/Image/PictureScene.hpp"

namespace nivex::image {
namespace {

class JpegReader : public testing::PictureScene {};

TEST_F(JpegReader, CallsUnsupportedWhatIsSoundButNoLibraryReads)
{
    const std::string file =
        written("jpeg", {.frames = {pixels(16, 16, 3, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB)}});
    const std::size_t frame = file.find("\xFF\xC0");
    ASSERT_NE(frame, file.npos);
    const auto with = [&](std::size_t place, char byte) {
        std::string changed = file;
        changed[frame + place] = byte;
        return refusal("jpeg", changed);
    };
    EXPECT_EQ(refusal("jpeg", file), "");
    for (const std::string& told : {with(4, 12), with(1, '\xC3'), with(1, '\xC7'), with(1, '\xCB')})
        EXPECT_THAT(told, ::testing::StartsWith("Conversion non prise en charge"));
    EXPECT_EQ(refusal("jpeg", file.substr(0, file.size() / 2)), damaged({}).message());
}

} // namespace
} // namespace nivex::image
