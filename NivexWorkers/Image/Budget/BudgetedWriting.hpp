#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

namespace nivex::image {

/// What an encoder is asked for where a person asks for a quality: everything, where the target keeps what was stored
/// without loss (WrittenPictures::keepsExact) and no less than usual is asked for.
double encoderQuality(const EngineRequest& request, double quality);

/// Writes a picture that has been adapted to request.outputLocation(), no larger than request.options.maxFileBytes and
/// looking as good as that allows. Pixels are computed once; attempts are written in the working directory and removed
/// again.
/// Throws ConversionError, `encodingFailed` when nothing fits, and vips::VError.
void writeWithinBudget(Picture picture, const WrittenPictures& target, const EngineRequest& request,
                       const ProgressCallback& progress);

} // namespace nivex::image
