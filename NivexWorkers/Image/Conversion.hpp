#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <filesystem>
#include <vector>

namespace nivex::image {

/// Loads and sets up the libraries, starting no thread. Once, before anything else.
void startLibraries();

/// Decodes a picture, adapts it to the options and to what the target format holds, and writes it.
/// Throws ConversionError.
std::vector<std::filesystem::path> convertPicture(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::image
