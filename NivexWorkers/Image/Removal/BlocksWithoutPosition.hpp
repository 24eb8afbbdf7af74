#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {

// Blocks of metadata as they are without coordinates, in just as many bytes, so that they can take the place of the old
// ones where moving things would break what refers to them. Names of places stay, as in `underPolicy`. A block that
// tells no position comes back as it is. One that cannot be read, or that no longer fits, comes back blank: it might
// tell anything.

/// A TIFF structure, without the "Exif\0\0" in front of it.
std::vector<std::byte> exifWithoutPosition(std::vector<std::byte> block);

/// An XMP packet with its filling.
std::string xmpWithoutPosition(std::string_view packet);

/// Photoshop's image resources, of which some are blocks of the kinds above.
std::vector<std::byte> resourcesWithoutPosition(std::vector<std::byte> resources);

} // namespace nivex::image
