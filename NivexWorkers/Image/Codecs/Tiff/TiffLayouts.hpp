#pragma once

#include "NivexWorkers/Image/Codecs/Release.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <tiffio.h>
#include <vips/vips8>

#include <memory>

namespace nivex::image {

using TiffFile = std::unique_ptr<TIFF, Release<TIFFClose>>;

/// Whether the current directory stores its pixels in one of the ways that libvips 8.14 does not read and
/// readRareLayout does: each component in tiles of its own, or strips of components of 12 bits.
bool hasRareLayout(TIFF* tiff);

/// The picture of such a directory, decoded whole, with orientation, profile and resolution.
/// Throws ConversionError: `unreadableSource`, or `resourceLimit` as requireAcceptableSize does.
vips::VImage readRareLayout(TIFF* tiff, const ResourceLimits& limits);

} // namespace nivex::image
