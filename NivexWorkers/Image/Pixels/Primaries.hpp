#pragma once

#include "NivexWorkers/Image/Picture.hpp"

#include <optional>

namespace nivex::image {

/// A colour without its brightness: CIE 1931 x and y.
struct Chromaticity {
    double x;
    double y;

    bool operator==(const Chromaticity&) const = default;
};

/// The colours that 1,0,0, 0,1,0, 0,0,1 and 1,1,1 stand for.
struct Primaries {
    Chromaticity red;
    Chromaticity green;
    Chromaticity blue;
    Chromaticity white;
};

constexpr Chromaticity d65{0.3127, 0.3290};
constexpr Primaries rec709{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, d65};

/// Linear light of these primaries as scRGB, white adapted to white (Bradford). Alpha stays. None where the primaries
/// span no colours.
std::optional<vips::VImage> toLinearSrgb(const vips::VImage& linear, const Primaries& primaries);

} // namespace nivex::image
