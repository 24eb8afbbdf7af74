#include "tests/NivexWorkers/Image/PictureScene.hpp"
#include "tests/Support/Bytes.hpp"

namespace nivex::image {
namespace {

using nivex::testing::bytes;
using nivex::testing::characters;
using vips::VImage;

class AstcCodec : public testing::PictureScene {
protected:
    /// A texture of blocks of 6 by 6, its sizes written as in the file, least byte first.
    static std::string texture(std::string_view depthOfBlock, std::string_view sizes, std::string_view blocks)
    {
        const std::string head = "13 AB A1 5C 06 06 " + std::string{depthOfBlock} + std::string{sizes};
        return std::string{characters(bytes(head + std::string{blocks}))};
    }

    static VImage smooth(int bands)
    {
        const VImage ramp = VImage::xyz(90, 70);
        std::vector<VImage> planes;
        for (int band = 0; band < bands; ++band)
            planes.push_back(ramp[band % 2] * 2.5 + 10 * band);
        return VImage::bandjoin(planes)
            .cast(VIPS_FORMAT_UCHAR)
            .copy(
                VImage::option()->set("interpretation", bands < 3 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB))
            .copy_memory();
    }
};

// One colour each, of 16 bits a component: whole numbers, half floats.
constexpr std::string_view plainBlock = "FC FD FF FF FF FF FF FF FF FF 00 80 00 00 FF FF";
constexpr std::string_view highBlock = "FC FF FF FF FF FF FF FF 00 44 00 3C 00 38 00 3C"; // 4, 1, 0.5, alpha 1

TEST_F(AstcCodec, StaysCloseAndDropsAlphaThatSaysNothing)
{
    for (const int bands : {1, 2, 3, 4}) {
        SCOPED_TRACE(bands);
        const VImage image = smooth(bands);
        const VImage back = read("astc", written("astc", {.frames = {image}}, 1)).first();
        ASSERT_EQ(back.bands(), bands % 2 == 0 ? 4 : 3);
        EXPECT_LT((back[0] - image[0]).abs().avg(), 3);
        EXPECT_LT((back[back.bands() - 1] - image[bands - 1]).abs().avg(), 3);
    }
}

TEST_F(AstcCodec, ChoosesTheBlocksByQuality)
{
    std::size_t before = 0;
    for (const double quality : {0.1, 0.3, 0.6, 0.85, 0.9, 1.0}) {
        const std::size_t size = written("astc", {.frames = {smooth(3)}}, quality).size();
        EXPECT_GT(size, before);
        before = size;
    }
}

TEST_F(AstcCodec, TellsHighRangeFromWholeNumbers)
{
    const VImage plain = read("astc", texture("01", "05 00 00 02 00 00 01 00 00", plainBlock)).first();
    EXPECT_EQ(plain.format(), VIPS_FORMAT_UCHAR);
    EXPECT_EQ(plain.getpoint(4, 1), (std::vector<double>{255, 128, 0}));
    const VImage high = read("astc", texture("01", "05 00 00 02 00 00 01 00 00", highBlock)).first();
    EXPECT_EQ(high.format(), VIPS_FORMAT_FLOAT);
    EXPECT_EQ(high.getpoint(4, 1), (std::vector<double>{4, 1, 0.5}));
}

TEST_F(AstcCodec, RefusesWhatItCannotShow)
{
    const std::string_view flat = "05 00 00 02 00 00 01 00 00";
    const struct {
        const char* name;
        std::string file;
        const char* message;
    } cases[] = {
        {"blocks with depth", texture("06", flat, plainBlock), "trois dimensions"},
        {"a texture with depth", texture("01", "05 00 00 02 00 00 03 00 00", plainBlock), "trois dimensions"},
        {"no width", texture("01", "00 00 00 02 00 00 01 00 00", plainBlock), "endommagé"},
        {"a block that means nothing", texture("01", flat, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
         "endommagé"},
        {"a giant", texture("01", "FF FF FF FF FF FF 01 00 00", plainBlock), "mégapixel"},
        {"more blocks than there are", texture("01", "07 00 00 02 00 00 01 00 00", plainBlock), "endommagé"},
        {"half a block", texture("01", flat, plainBlock.substr(0, 23)), "endommagé"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_THAT(refusal("astc", each.file), ::testing::HasSubstr(each.message));
    }
    std::string oddBlock = texture("01", flat, plainBlock);
    oddBlock[4] = 7;
    EXPECT_THAT(refusal("astc", oddBlock), ::testing::HasSubstr("endommagé"));
    const std::string file = written("astc", {.frames = {smooth(4)}});
    EXPECT_THAT(acceptedPrefixes("astc", file, 97), ::testing::IsEmpty());
}

} // namespace
} // namespace nivex::image
