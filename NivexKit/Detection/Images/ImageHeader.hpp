#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <vector>

namespace nivex {

/// The formats whose headers can be read here.
std::vector<FormatID> formatsWithImageHeader();

/// Reads what the header of an image tells into `image`; the fields that it does not tell stay as they are. Sizes are
/// those of the stored pixels, before any rotation that the file asks for; of several images the main one counts, of a
/// camera raw file or a set of icons the largest. A count that the bound of `file` cut short is a lower bound and is
/// left out while it says "one".
///
/// returns  true when the header was understood, that is when the size of the image is known
/// errors   none: what is cut or malformed is simply not told
bool readImageHeader(const FormatID& format, HeaderBytes& file, SourceProperties& image);

} // namespace nivex
