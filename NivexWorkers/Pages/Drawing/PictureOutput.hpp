#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <vips/vips8>

#include <filesystem>

namespace nivex::pages {

/// The picture as the target format of the request can hold it and as its options ask. Throws vips::VError.
vips::VImage adaptedPicture(const vips::VImage& drawn, const EngineRequest& request);

/// Writes a drawn picture in the target format, with the encoders of the picture engine and, where one is asked for,
/// under a target size.
///
/// returns  request.outputLocation()
/// throws   ConversionError
std::filesystem::path writePicture(const vips::VImage& drawn, const EngineRequest& request,
                                   const ProgressCallback& progress, unsigned processors);

} // namespace nivex::pages
