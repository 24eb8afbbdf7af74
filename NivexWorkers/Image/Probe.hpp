#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex::image {

/// What the reader of request.sourceFormat finds in request.input: size, pictures, transparency, depth and whether the
/// file tells where it was taken. Pixels are decoded only where the reader cannot open a file without them.
/// Throws ConversionError.
SourceProperties probePicture(const EngineRequest& request);

} // namespace nivex::image
