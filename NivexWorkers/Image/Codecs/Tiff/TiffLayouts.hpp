#pragma once

#include "NivexWorkers/Image/Codecs/Release.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <tiffio.h>
#include <vips/vips8>

#include <memory>

namespace nivex::image {

using TiffFile = std::unique_ptr<TIFF, Release<TIFFClose>>;

/// Whether the current directory stores its pixels in one of the ways that libvips 8.14 does not read and
/// readRareLayout does: each component in tiles of its own, strips of components that are no whole bytes
/// or half floats, colour differences outside of JPEG.
bool hasRareLayout(TIFF* tiff);

/// The picture of such a directory, decoded whole, with orientation, profile and resolution.
/// Throws ConversionError: `unreadableSource`, `unsupported` for JPEG streams that no library here decodes, or
/// `resourceLimit` as requireAcceptableSize does.
vips::VImage readRareLayout(TIFF* tiff, const ResourceLimits& limits);

} // namespace nivex::image
