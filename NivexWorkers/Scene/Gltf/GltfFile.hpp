#pragma once

#include "NivexKit/Foundation/Text/Json.hpp"

#include <filesystem>
#include <string_view>

namespace nivex::scene {

/// Writes a container of JSON and bytes, each padded as the format asks. Throws ConversionError::resourceLimit for more
/// than the 4 GiB that a container can hold.
void writeGltfContainer(const std::filesystem::path& location, const JsonObject& root, std::string_view binary);

} // namespace nivex::scene
