#pragma once

#include <filesystem>
#include <vector>

namespace nivex {

/// Checks what the engines hand back before it is moved to the user: every output lies below `workspace`, links
/// resolved, is a file or a folder of files and folders, and is not the input under another name.
/// Throws ConversionError::outputVerificationFailed.
void verifyOutputs(const std::vector<std::filesystem::path>& outputs, const std::filesystem::path& workspace,
                   const std::filesystem::path& input);

} // namespace nivex
