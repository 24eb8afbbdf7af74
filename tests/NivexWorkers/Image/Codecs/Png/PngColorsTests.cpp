#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "tests/NivexWorkers/Image/PictureScene.hpp"

namespace nivex::image {
namespace {

using vips::VImage;

class PngColors : public testing::PictureScene {
protected:
    /// What a file of one colour looks like in sRGB, with these chunks in front of its pixels.
    std::vector<double> looks(const VImage& image, const std::string& chunks)
    {
        std::string file = written("png", {.frames = {image}});
        constexpr std::size_t behindHeader = 8 + 25;
        file.insert(behindHeader, chunks);
        return adapted(read("png", file), WrittenPictures{}, {}).first().getpoint(0, 0);
    }
};

VImage flat(const std::vector<double>& colour, VipsInterpretation interpretation)
{
    return VImage::black(3, 2).new_from_image(colour).copy(VImage::option()->set("interpretation", interpretation));
}

std::string chunk(const char* type, const std::vector<std::uint32_t>& numbers)
{
    ByteWriter data{ByteOrder::big};
    for (const std::uint32_t number : numbers)
        data.u32(number);
    return pngChunk(type, data.view());
}

TEST_F(PngColors, gammaAndPrimariesCountWhereNothingStrongerStands)
{
    const auto gamma = [](std::uint32_t value) { return chunk("gAMA", {value}); };
    const std::string usual = chunk("cHRM", {31'270, 32'900, 64'000, 33'000, 30'000, 60'000, 15'000, 6'000});
    const std::string adobe = chunk("cHRM", {31'270, 32'900, 64'000, 33'000, 21'000, 71'000, 15'000, 6'000});
    const std::string noColors = chunk("cHRM", {31'270, 0, 64'000, 33'000, 30'000, 60'000, 15'000, 6'000});
    const std::string word = pngChunk("sRGB", std::string_view{"\0", 1});
    std::string broken = gamma(100'000);
    broken.back() ^= 1;
    struct Row {
        const char* name;
        std::string chunks;
        std::vector<double> looks; // of 100, 150, 100
    };
    const std::vector<double> same{100, 150, 100};
    const Row rows[] = {
        {"nothing", "", same},
        {"the usual gamma", gamma(45'455), same},
        {"the usual colours", gamma(45'455) + usual, same},
        {"light", gamma(100'000), {168, 202, 168}}, // 255 (1.055 (v/255)^(1/2.4) - 0.055)
        {"an old screen of 1.8", gamma(55'556), {119, 167, 119}},
        {"colours of Adobe RGB, whose green is greener", gamma(45'455) + adobe, {67, 150, 97}},
        {"the word sRGB is stronger", gamma(100'000) + word, same},
        {"none", gamma(0), same},
        {"a curve beyond sense", gamma(4'000'000'000), same},
        {"colours without brightness", gamma(100'000) + noColors, same},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<double> seen = looks(flat({100, 150, 100}, VIPS_INTERPRETATION_sRGB), row.chunks);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(seen[i], row.looks[i], 2) << "component " << i;
    }
    EXPECT_NEAR(looks(flat({100}, VIPS_INTERPRETATION_B_W), gamma(100'000))[0], 168, 2) << "grey";
}

} // namespace
} // namespace nivex::image
