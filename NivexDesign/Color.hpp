#pragma once

#include <algorithm>
#include <cstdint>

namespace nivex {

/// A colour of light parts, each 0…1, not multiplied by its opacity.
struct Color {
    float red = 0;
    float green = 0;
    float blue = 0;
    float alpha = 1;

    /// 0xRRGGBB.
    static constexpr Color rgb(std::uint32_t value)
    {
        return {static_cast<float>(value >> 16 & 255u) / 255, static_cast<float>(value >> 8 & 255u) / 255,
                static_cast<float>(value & 255u) / 255, 1};
    }

    constexpr Color withAlpha(float opacity) const { return {red, green, blue, opacity}; }

    /// `share` 0 is this colour, 1 the other.
    constexpr Color mixed(const Color& other, float share) const
    {
        const auto between = [share](float from, float to) { return from + (to - from) * share; };
        return {between(red, other.red), between(green, other.green), between(blue, other.blue),
                between(alpha, other.alpha)};
    }

    /// 0xAARRGGBB, the parts multiplied by the opacity. Parts outside 0…1 are cut.
    constexpr std::uint32_t premultiplied() const
    {
        const auto byte = [](float part) {
            return static_cast<std::uint32_t>(std::clamp(part, 0.0F, 1.0F) * 255 + 0.5F);
        };
        const float opacity = std::clamp(alpha, 0.0F, 1.0F);
        return byte(opacity) << 24 | byte(std::clamp(red, 0.0F, 1.0F) * opacity) << 16 |
               byte(std::clamp(green, 0.0F, 1.0F) * opacity) << 8 | byte(std::clamp(blue, 0.0F, 1.0F) * opacity);
    }

    bool operator==(const Color&) const = default;
};

} // namespace nivex
