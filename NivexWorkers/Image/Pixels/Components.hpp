#pragma once

#include <vips/vips8>

namespace nivex::image {

/// A decoded image as a frame of a Picture has it: components of 8 or 16 bits or floating point, as grey, RGB or four
/// inks, at most one more band. Rare kinds (32-bit whole numbers, signed ones, Lab, double precision, many samples a
/// pixel) become the nearest of these. Floating point counts as linear light, 1.0 as white.
vips::VImage withUsualComponents(const vips::VImage& image);

/// L*a*b* of floating point (relative to D50, as the space between profiles has it) as sRGB of 8 or 16 bits.
vips::VImage labAsRgb(const vips::VImage& lab, int bits);

/// Grey linear light, perhaps with alpha, as a frame of a Picture has it: linear light is always RGB.
vips::VImage greyLightAsRgb(const vips::VImage& image);

} // namespace nivex::image
