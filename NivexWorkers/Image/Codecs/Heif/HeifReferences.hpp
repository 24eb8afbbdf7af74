#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

namespace nivex::image {

/// Whether an item of a HEIF file (ISO/IEC 23008-12) is, by whatever detour, a part of itself: a tile of its own grid
/// or its own transparency. Decoders that follow such references never end.
bool hasCircularItems(const ByteSource& file);

} // namespace nivex::image
