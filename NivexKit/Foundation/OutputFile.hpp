#pragma once

#include <filesystem>
#include <string_view>

namespace nivex {

/// Writes a file that does not exist yet, whole. What was written of it stays when that fails.
///
/// errors   ConversionError::encodingFailed when the disk is full, the file exists or cannot be written
/// threads  any
void writeNewFile(const std::filesystem::path& file, std::string_view contents);

} // namespace nivex
