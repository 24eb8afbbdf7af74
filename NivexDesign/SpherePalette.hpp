#pragma once

#include "NivexDesign/Color.hpp"

#include <cstddef>

namespace nivex {

/// On what the sphere and the windows are drawn.
enum class Appearance { light, dark };

/// What the sphere says of itself.
enum class SphereMood {
    resting,
    hovered,  // something is held over it, or it has the keyboard
    thinking, // files are being looked at
    offering, // it shows what they can become
    working,
    done,
    refused,
};

/// The colours of the glass in one mood.
struct SpherePalette {
    Color deep;      // the side that the light does not reach
    Color body;      // the glass itself
    Color light;     // where the light leaves it, below
    Color highlight; // the reflection of the lamp
    Color ring;      // progress around it
    Color shadow;    // on what lies below

    static SpherePalette of(SphereMood mood, Appearance appearance);

    bool operator==(const SpherePalette&) const = default;
};

/// The one colour that leads the eye in every window; text on it is white.
Color accent(Appearance appearance);

/// The hue of a family of formats, the same wherever it is shown. Families are counted as their cases; every number is
/// allowed. Text of this colour is legible on a window of that appearance.
Color familyHue(std::size_t family, Appearance appearance);

} // namespace nivex
