#pragma once

#include <vips/vips8>

#include <string_view>

namespace nivex::image {

enum class ProfileColors { none, grey, rgb, cmyk, other };

/// Which colours an ICC profile is for (ICC.1, header); none for bytes that are no profile.
ProfileColors colorsOfProfile(std::string_view profile);

/// Embeds a foreign ICC profile in a picture, provided that it is one and fits the picture's colours.
void embedProfile(vips::VImage& image, std::string_view profile);

/// The bytes of the profile that a picture carries, valid as long as it; empty without one.
std::string_view profileOf(const vips::VImage& image);

} // namespace nivex::image
