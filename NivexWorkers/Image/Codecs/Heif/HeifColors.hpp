#pragma once

#include <libheif/heif.h>

#include <string>

namespace nivex::image {

/// The ICC profile of RGB pixels whose colours a HEIF file describes by code points (ITU-T H.273, "nclx"): primaries
/// and transfer characteristics. Empty for sRGB, which needs none, and for code points that say nothing.
///
/// Of the two transfers that go beyond white (PQ and HLG, ITU-R BT.2100), what is brighter than diffuse white of
/// 203 cd/m² (ITU-R BT.2408) becomes white.
std::string profileOfCodedColors(const heif_color_profile_nclx& colors);

} // namespace nivex::image
