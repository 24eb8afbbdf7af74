#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace nivex {

/// Makes the folder that a person chose for results, where only the last part of its path is missing and the folder
/// above is the person's own: a mistyped path must not grow a tree. With `isOnlyAsked` nothing is made. Returns the
/// sentence of what stands in the way.
std::optional<std::string> prepareFolder(const std::filesystem::path& folder, bool isOnlyAsked);

/// The folder in which the results of a file will stand.
std::filesystem::path folderOf(const OutputDestination& destination, const std::filesystem::path& source);

/// Why nothing can be written in a folder, in the words of the conversion that would fail; none when it can.
std::optional<std::string> problemOf(const std::filesystem::path& folder);

} // namespace nivex
