#pragma once

#include "NivexWorkers/Image/Picture.hpp"

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

namespace nivex::image {

/// Brings a frame into the colours that the policy asks for and the format holds, no deeper than the format stores,
/// with the profile that says so embedded where it can be. Colours that no profile explains count as sRGB.
vips::VImage inColors(const vips::VImage& frame, const WrittenPictures& target, ColorProfilePolicy policy);

/// The frame as floating point: linear light of sRGB's primaries (interpretation scrgb), 3 bands and perhaps alpha.
vips::VImage inLinearLight(const vips::VImage& frame);

} // namespace nivex::image
