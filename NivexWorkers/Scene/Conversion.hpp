#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <filesystem>
#include <vector>

namespace nivex::scene {

/// Reads a scene and writes it in another format; returns what it wrote, the file of the target format first. What a
/// person should know of the result becomes warnings of the request. Throws ConversionError.
std::vector<std::filesystem::path> convertScene(const EngineRequest& request, const ProgressCallback& progress);

/// Measures whether a scene has materials, and whether it has skeletons or animations. Throws ConversionError.
SourceProperties probeScene(const EngineRequest& request);

} // namespace nivex::scene
