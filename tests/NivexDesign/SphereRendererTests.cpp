#include "NivexDesign/SphereRenderer.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace nivex {
namespace {

struct Picture {
    int side;
    std::vector<std::uint32_t> pixels;

    Picture(int size, const SphereState& state) : side{size}, pixels(static_cast<std::size_t>(size * size))
    {
        SphereRenderer{size}.draw(state, pixels);
    }

    std::uint32_t at(double x, double y) const
    {
        return pixels[static_cast<std::size_t>(static_cast<int>(y * side) * side + static_cast<int>(x * side))];
    }
    int brightness(double x, double y) const
    {
        const std::uint32_t pixel = at(x, y);
        return static_cast<int>((pixel & 255U) + (pixel >> 8 & 255U) + (pixel >> 16 & 255U));
    }
    unsigned alpha(double x, double y) const { return at(x, y) >> 24; }
};

TEST(SphereRenderer, DrawsALitBallInAClearSquare)
{
    for (const int side : {64, 240, 480}) {
        SCOPED_TRACE(side);
        const Picture picture{side, {}};
        EXPECT_EQ(picture.alpha(0.5, 0.5), 255U) << "the ball is solid";
        EXPECT_EQ(picture.alpha(0.01, 0.01), 0U) << "what lies behind the corners shows";
        EXPECT_GT(picture.brightness(0.5, 0.27), picture.brightness(0.5, 0.55)) << "the lamp is above";
        EXPECT_GT(picture.brightness(0.5, 0.80), picture.brightness(0.5, 0.55)) << "glass gathers light below";
        for (const std::uint32_t pixel : picture.pixels)
            for (const unsigned shift : {0U, 8U, 16U})
                ASSERT_LE(pixel >> shift & 255U, pixel >> 24) << "a part is brighter than its opacity allows";
    }
}

TEST(SphereRenderer, ShowsProgressClockwiseFromTheTop)
{
    const auto picture = [](std::optional<float> progress, float phase = 0) {
        return Picture{240, {.mood = SphereMood::working, .phase = phase, .progress = progress}};
    };
    constexpr double ring = 0.38 + 0.055; // of the side, from the middle
    const Picture none = picture(0);
    const Picture half = picture(0.5F);
    EXPECT_GT(half.alpha(0.5 + ring, 0.5), none.alpha(0.5 + ring, 0.5)) << "a quarter past is done at half";
    EXPECT_EQ(half.at(0.5 - ring, 0.5), none.at(0.5 - ring, 0.5)) << "three quarters is not";
    EXPECT_NE(picture({}, 0.1F).pixels, picture({}, 0.6F).pixels) << "unknown progress moves";
    EXPECT_EQ(Picture(240, {}).alpha(0.5 + ring, 0.2), 0U) << "at rest there is no ring";
}

TEST(SphereRenderer, TellsItsMoodsApartAndIsHitInsideTheBallOnly)
{
    const Picture resting{96, {}};
    for (const SphereMood mood : {SphereMood::hovered, SphereMood::done, SphereMood::refused})
        EXPECT_NE(Picture(96, {.mood = mood}).pixels, resting.pixels);
    EXPECT_EQ(Picture(96, {.glow = 1}).at(0.5, 0.5) == resting.at(0.5, 0.5), false) << "a file held over it lights it";
    EXPECT_NE(Picture(96, {.strongContrast = true}).pixels, resting.pixels);

    const SphereRenderer renderer{100};
    EXPECT_TRUE(renderer.contains(50, 50 - renderer.radius() + 1));
    EXPECT_FALSE(renderer.contains(50, 50 - renderer.radius() - 1));
    EXPECT_FALSE(renderer.contains(20, 20));
}

TEST(SpherePalette, GivesFamiliesHuesThatCanBeReadAndTold)
{
    const auto luminance = [](const Color& color) {
        const auto linear = [](float part) {
            return part <= 0.04045F ? part / 12.92F : std::pow((part + 0.055F) / 1.055F, 2.4F);
        };
        return 0.2126F * linear(color.red) + 0.7152F * linear(color.green) + 0.0722F * linear(color.blue);
    };
    for (std::size_t family = 0; family < 18; ++family) {
        SCOPED_TRACE(family);
        EXPECT_GE((1.0F + 0.05F) / (luminance(familyHue(family, Appearance::light)) + 0.05F), 4.5F) << "text on white";
        EXPECT_GE((luminance(familyHue(family, Appearance::dark)) + 0.05F) / (0.014F + 0.05F), 4.5F) << "text on dark";
        EXPECT_NE(familyHue(family, Appearance::light), familyHue((family + 1) % 18, Appearance::light));
    }
    EXPECT_GE((1.0F + 0.05F) / (luminance(accent(Appearance::light)) + 0.05F), 4.5F) << "white text on a button";
    EXPECT_GE((1.0F + 0.05F) / (luminance(accent(Appearance::dark)) + 0.05F), 4.5F);
}

} // namespace
} // namespace nivex
