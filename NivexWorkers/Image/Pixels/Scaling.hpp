#pragma once

#include <vips/vips8>

#include <cstdint>

namespace nivex::image {

/// The picture no longer than `longest` pixels on its longest side; 0 for any. Pixels are mixed as light is: a checker
/// of black and white becomes the grey that it looks like from afar, and thin bright lines stay bright.
vips::VImage noLongerThan(std::int64_t longest, const vips::VImage& image);

} // namespace nivex::image
