#pragma once

#include "NivexKit/Foundation/ConversionError.hpp"

#include <filesystem>
#include <string>

namespace nivex {

/// What the user is told when the system refuses to write in `folder`; `errorNumber` is the system's reason.
ConversionError destinationError(int errorNumber, const std::filesystem::path& folder);

/// The same for a folder that does not let this process write.
ConversionError noWritePermission(const std::filesystem::path& folder);

} // namespace nivex
