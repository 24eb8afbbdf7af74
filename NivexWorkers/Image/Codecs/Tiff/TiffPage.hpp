#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <tiffio.h>
#include <vips/vips8>

namespace nivex::image {

/// Appends a picture to a file as a page without loss, compressed by DEFLATE in strips, with its profile and its
/// resolution. Throws ConversionError or vips::VError.
void writeTiffPage(TIFF* file, const vips::VImage& image, unsigned processors, const ProgressCallback& progress);

} // namespace nivex::image
