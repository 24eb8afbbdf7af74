#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <vector>

namespace nivex::pages {

/// Draws an SVG file: as a picture at the resolution of the request, transparent where the target can be, or on a PDF
/// page as large as the drawing, where lines stay lines and text stays text. Throws ConversionError.
std::vector<std::filesystem::path> convertDrawing(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::pages
