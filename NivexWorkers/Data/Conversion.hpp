#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>
#include <vector>

namespace nivex::data {

/// Reads a table or nested data and writes it in another format. What a person should know of the result becomes
/// remarks. Throws ConversionError.
std::vector<std::filesystem::path> convertData(const EngineRequest& request, Remarks& remarks,
                                               const ProgressCallback& progress);

} // namespace nivex::data
