#include "NivexDesign/SpherePalette.hpp"

#include <cmath>
#include <iterator>

namespace nivex {
namespace {

struct MoodRow {
    SphereMood mood;
    std::uint32_t deep;
    std::uint32_t body;
    std::uint32_t light;
};

// clang-format off
constexpr MoodRow moods[] = {
    {SphereMood::resting,  0x1C2B5E, 0x3E5FC4, 0x8FC7F2},
    {SphereMood::hovered,  0x22357A, 0x4C72E0, 0xA9DCFF},
    {SphereMood::thinking, 0x2A2C74, 0x5A62D8, 0xB4B8FF},
    {SphereMood::offering, 0x22357A, 0x4C72E0, 0xA9DCFF},
    {SphereMood::working,  0x1C3A6E, 0x3C7ACB, 0x8FDCF2},
    {SphereMood::done,     0x12513F, 0x2F9C78, 0x9BE8C4},
    {SphereMood::refused,  0x5A2430, 0xB5525B, 0xF2B39B},
};
// clang-format on

constexpr const MoodRow& rowFor(SphereMood mood)
{
    for (const MoodRow& row : moods)
        if (row.mood == mood)
            return row;
    return moods[0];
}

/// A hue in degrees at a lightness and strength that the eye finds alike for all hues (OKLCH).
Color evenColor(float degrees, float lightness, float strength)
{
    const float angle = degrees * 3.14159265F / 180;
    const float a = strength * std::cos(angle);
    const float b = strength * std::sin(angle);
    const auto cube = [](float value) { return value * value * value; };
    const float l = cube(lightness + 0.3963377774F * a + 0.2158037573F * b);
    const float m = cube(lightness - 0.1055613458F * a - 0.0638541728F * b);
    const float s = cube(lightness - 0.0894841775F * a - 1.2914855480F * b);
    const auto encoded = [](float linear) {
        const float part = std::clamp(linear, 0.0F, 1.0F);
        return part <= 0.0031308F ? 12.92F * part : 1.055F * std::pow(part, 1 / 2.4F) - 0.055F;
    };
    return {encoded(4.0767416621F * l - 3.3077115913F * m + 0.2309699292F * s),
            encoded(-1.2684380046F * l + 2.6097574011F * m - 0.3413193965F * s),
            encoded(-0.0041960863F * l - 0.7034186147F * m + 1.7076147010F * s)};
}

/// Degrees, so that families that occur together lie far apart: pictures, drawings, documents, tables, slides, sound,
/// moving pictures, …
constexpr float hues[] = {255, 320, 25, 150, 50, 195, 290, 75, 105, 340, 10, 225, 130, 175, 240, 270, 60, 305};

} // namespace

SpherePalette SpherePalette::of(SphereMood mood, Appearance appearance)
{
    const MoodRow& row = rowFor(mood);
    const bool isDark = appearance == Appearance::dark;
    return {.deep = Color::rgb(row.deep),
            .body = Color::rgb(row.body),
            .light = Color::rgb(row.light),
            .highlight = Color::rgb(0xFFFFFF),
            .ring = Color::rgb(row.light).mixed(Color::rgb(row.body), isDark ? 0.0F : 0.75F),
            .shadow = isDark ? Color{0, 0, 0, 0.55F} : Color{0.08F, 0.12F, 0.28F, 0.28F}};
}

Color accent(Appearance appearance) { return Color::rgb(appearance == Appearance::dark ? 0x4367D6 : 0x3556BE); }

Color familyHue(std::size_t family, Appearance appearance)
{
    const float hue = hues[family % std::size(hues)];
    return appearance == Appearance::dark ? evenColor(hue, 0.80F, 0.11F) : evenColor(hue, 0.50F, 0.13F);
}

} // namespace nivex
