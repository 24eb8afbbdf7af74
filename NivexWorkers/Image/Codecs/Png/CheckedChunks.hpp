#pragma once

#include "NivexKit/Structures/PngChunks.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {

/// The data of a chunk; none where the checksum is not theirs.
std::optional<std::vector<std::byte>> checkedData(const ByteSource& file, const PngChunk& chunk);

/// A chunk as it stands in a file.
std::string pngChunk(std::string_view type, std::string_view data);

} // namespace nivex::image
