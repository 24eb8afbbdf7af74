#pragma once

#include "NivexWorkers/Scene/Model/Vector.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nivex::scene {

/// One component of a colour as sRGB stores it, as light. Formats for printing and scanning store the colours of their
/// vertices like pictures; those for drawing store light.
inline float linearFromSrgb(float stored)
{
    return stored <= 0.04045F ? stored / 12.92F : std::pow((stored + 0.055F) / 1.055F, 2.4F);
}

inline float srgbFromLinear(float light)
{
    return light <= 0.0031308F ? light * 12.92F : 1.055F * std::pow(light, 1 / 2.4F) - 0.055F;
}

inline Vec4 linearFromSrgb(Vec4 c) { return {linearFromSrgb(c.x), linearFromSrgb(c.y), linearFromSrgb(c.z), c.w}; }
inline Vec4 srgbFromLinear(Vec4 c) { return {srgbFromLinear(c.x), srgbFromLinear(c.y), srgbFromLinear(c.z), c.w}; }

/// A part of a whole as a number up to `Integer`'s largest; what is no number is none of it.
template <class Integer>
Integer quantized(float part)
{
    constexpr float most = std::numeric_limits<Integer>::max();
    return part > 0 ? static_cast<Integer>(std::lround(std::min(part, 1.0F) * most)) : Integer{0};
}

} // namespace nivex::scene
