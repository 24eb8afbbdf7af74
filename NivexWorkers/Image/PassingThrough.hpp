#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <optional>

namespace nivex::image {

// Files, or their data, that reach the output without being decoded and encoded again.

/// Copies the source to the output, without the metadata that are to go, where it is only to become smaller, is small
/// enough then, and its pixels are to be changed in no way. Its quality is no reason to encode it again: that could
/// only make it look worse. It is decoded once, for the sake of its damages alone. False where that is not so. Throws
/// ConversionError, `unreadableSource` for a damaged file.
bool copiedAsItIs(const Picture& picture, const EngineRequest& request);

/// The source itself where the target can show it as it is and nothing is asked that would change its data. It is
/// decoded once, for the sake of its damages alone. `request.input` outlives it. Throws vips::VError for a damaged
/// file.
std::optional<JpegSource> untouchedJpeg(const Picture& picture, const WrittenPictures& target,
                                        const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::image
