#pragma once

#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"

namespace nivex::image {

/// Opens the file of a request for one of our own parsers. Throws `unreadableSource`.
SharedSource openedSource(const ReadRequest& request);

/// The bitmap as an image whose rows are decoded when they are pulled. L*a*b* becomes sRGB, floating point grey becomes
/// RGB, so the result is what Picture describes. A row that cannot be decoded throws vips::VError where it is pulled.
vips::VImage imageOf(Bitmap bitmap);

} // namespace nivex::image
