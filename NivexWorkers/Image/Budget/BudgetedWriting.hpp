#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

namespace nivex::image {

/// Writes a picture that has been adapted to request.outputLocation(), no larger than request.options.maxFileBytes and
/// looking as good as that allows. Pixels are computed once; attempts are written in the working directory and removed
/// again.
/// Throws ConversionError, `encodingFailed` when nothing fits, and vips::VError.
void writeWithinBudget(Picture picture, const WrittenPictures& target, const EngineRequest& request,
                       const ProgressCallback& progress);

} // namespace nivex::image
