#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <vector>

namespace nivex::pages {

/// Draws the pages of a PDF file on all processors: a file for each page, or one of all pages where the target is TIFF.
/// Throws ConversionError.
std::vector<std::filesystem::path> convertPdfToPictures(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::pages
