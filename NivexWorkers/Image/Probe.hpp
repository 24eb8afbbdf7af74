#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex::image {

/// What the reader of request.sourceFormat finds in request.input: size, pictures, transparency, depth and whether the
/// file tells where it was taken. Every pixel is decoded, so that a file it answers for can be converted.
/// Throws ConversionError, `unreadableSource` for a damaged file.
SourceProperties probePicture(const EngineRequest& request);

} // namespace nivex::image
