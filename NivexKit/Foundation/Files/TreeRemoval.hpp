#pragma once

#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <string>
#include <string_view>

namespace nivex {

/// Deletes everything in a folder of this user: whatever its depth (a handful of descriptors is held), whatever its
/// permissions, and immutable entries where this process may change that. Links are removed, never followed. Never
/// throws; false when something stays.
///
/// except  the name of a file in the folder itself that is to stay; empty for none
bool emptyFolder(const OpenFolder& folder, std::string_view except = {}) noexcept;

/// Deletes an entry of a folder, and if it is a folder everything in it.
bool removeTree(const OpenFolder& parent, const std::string& name) noexcept;

} // namespace nivex
