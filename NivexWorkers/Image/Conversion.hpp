#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <vector>

namespace nivex::image {

/// Decodes a picture, adapts it to the options and to what the target format holds, and writes it.
/// Throws ConversionError.
std::vector<std::filesystem::path> convertPicture(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::image
