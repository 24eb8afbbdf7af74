#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

namespace nivex {

// Whether an image says where it was taken. Each function sets `hasLocation` when it finds a position and leaves it
// alone otherwise: only the reader of the whole format knows whether there is another place to look.

/// Looks at the GPS directory that a directory of the structure points to.
void noteGpsDirectory(const TiffStructure& structure, const TiffDirectory& directory, SourceProperties& image);

/// Looks into the Exif block whose TIFF header stands at `offset`.
void noteExif(HeaderBytes& file, std::uint64_t offset, SourceProperties& image);

/// Looks into an XMP packet of `count` bytes at `offset`; only the first 64 KiB of a longer one.
void noteXmp(HeaderBytes& file, std::uint64_t offset, std::uint64_t count, SourceProperties& image);

} // namespace nivex
