#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <span>

namespace nivex::image {

// The packed pixels of a PNG file begin by naming the window that their references back stay in (RFC 1950, 2.2). Some
// programs name one that is too small; most readers follow any reference of up to 32 KiB, libpng calls it damage.

/// True when the first pixels of a PNG file name less than 32 KiB.
bool namesSmallWindow(const ByteSource& png);

/// Lets the first pixels of a PNG file name 32 KiB, which holds for any. What names them already, has a wrong checksum
/// or is no PNG stays as it is.
void nameWholeWindow(std::span<std::byte> png);

} // namespace nivex::image
