#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace nivex {

/// The folders of this user in which work may lie that has no place beside its result, in the order of preference: in
/// the system's temporary folder, in the user's cache, in the temporary folder that outlasts a restart. They need not
/// exist.
std::vector<std::filesystem::path> privateFolders();

/// Makes such a folder where it is missing; false when it cannot be made, is another user's, or open to others.
bool preparePrivateFolder(const std::filesystem::path& folder);

/// True when another user may rename or remove what this user makes in a folder: it is neither ours nor the system's,
/// or others may write to it and it is not "sticky".
bool othersMayRenameIn(const std::filesystem::path& folder);

} // namespace nivex
