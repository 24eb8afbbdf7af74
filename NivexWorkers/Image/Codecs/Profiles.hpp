#pragma once

#include <vips/vips8>

#include <optional>
#include <string>
#include <string_view>

namespace nivex::image {

enum class ProfileColors { none, grey, rgb, cmyk, other };

/// Which colours an ICC profile is for (ICC.1, header); none for bytes that are no profile.
ProfileColors colorsOfProfile(std::string_view profile);

/// How colours are to be read by a profile: relative to white where it has a table for that, else as it offers. None
/// where it offers nothing, or is none.
std::optional<VipsIntent> readingIntent(std::string_view profile);

/// The bytes of a profile (cmsHPROFILE) that Little CMS has made, with the name that every profile must have; empty
/// where it cannot be saved.
std::string savedProfile(void* profile, const char* name);

/// Embeds a foreign ICC profile in a picture, provided that it is one and fits the picture's colours.
void embedProfile(vips::VImage& image, std::string_view profile);

/// Whether grey or RGB of this profile counts light, as floating point without a profile does.
bool countsLight(std::string_view profile);

/// The picture without a profile that does not fit its colours, or by which nothing can be read.
vips::VImage withUsableProfile(const vips::VImage& image);

/// The bytes of the profile that a picture carries, valid as long as it; empty without one.
std::string_view profileOf(const vips::VImage& image);

} // namespace nivex::image
