#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <filesystem>
#include <vector>

namespace nivex::document {

/// Converts a document as the request says. Throws unreadableSource, resourceLimit, encodingFailed and unsupported.
std::vector<std::filesystem::path> convertDocument(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::document
