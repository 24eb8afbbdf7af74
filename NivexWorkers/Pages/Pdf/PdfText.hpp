#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::pages {

/// The text layer of every page: in reading order, column by column, words joined again that a line's end had divided.
/// A page without one is empty, and so is one whose text means nothing (isMeaningful). UTF-8.
/// Throws what PdfDocument throws.
std::vector<std::string> textOfPages(const std::filesystem::path& file, const ResourceLimits& limits,
                                     const ProgressCallback& progress);

/// False where a good part of the characters are none that people write: fonts that do not tell what their glyphs mean
/// yield private numbers and control characters.
bool isMeaningful(std::string_view text);

/// The pages as one text, with a form feed between them.
std::string joinedPages(const std::vector<std::string>& pages);

/// Writes the text of a document's pages. Throws ConversionError.
std::vector<std::filesystem::path> convertPdfToText(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::pages
