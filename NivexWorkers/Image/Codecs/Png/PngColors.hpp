#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <string>

namespace nivex::image {

/// The ICC profile that says what a PNG file's gAMA and cHRM chunks say (PNG, Third Edition, W3C, 11.3.2). Empty where
/// the file has a stronger word on its colours, none at all, or one that sRGB fulfils.
std::string profileOfPngColors(const ByteSource& file);

} // namespace nivex::image
