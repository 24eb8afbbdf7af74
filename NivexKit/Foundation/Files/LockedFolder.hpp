#pragma once

#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace nivex {

/// A folder that NIVEX makes for itself: named by a prefix and a new identifier, entered by this user only, and holding
/// a file `lock` that says the folder's name and is locked for as long as the folder is in use. A killed process loses
/// its locks, so a folder whose own lock file can be locked is a leftover, whenever and by whomever it was made.
class LockedFolder {
public:
    /// In front of the identifier, in a folder that holds other things too.
    static constexpr std::string_view hiddenPrefix = ".nivex-";

    /// Makes a folder in `parent`. None when that is impossible; `errno` tells why.
    static std::optional<LockedFolder> create(const OpenFolder& parent, std::string_view prefix);
    static std::optional<LockedFolder> create(const std::filesystem::path& parent, std::string_view prefix);

    const std::filesystem::path& location() const { return folder_.location(); }
    /// The folder itself, whatever stands at its location by now.
    const OpenFolder& folder() const { return folder_; }

    /// Deletes what is in the folder, and the folder where it still stands under its name. Never throws, ignores
    /// failures, may be called again.
    void remove() noexcept;

    /// Removes the leftovers among the folders of `parent` that bear `prefix`, and gives those that could not be
    /// removed. A folder without a lock file of its own goes only when it is empty, or when all it holds is a lock file
    /// that nobody came to write: somebody may have given the name to something dear. Never throws; safe against other
    /// processes that make, remove or rename folders meanwhile.
    static std::vector<std::filesystem::path> removeLeftovers(const std::filesystem::path& parent,
                                                              std::string_view prefix);

private:
    LockedFolder(OpenFolder parent, OpenFolder folder, FileDescriptor lock)
        : parent_{std::move(parent)}, folder_{std::move(folder)}, lock_{std::move(lock)}
    {
    }

    OpenFolder parent_;
    OpenFolder folder_;
    FileDescriptor lock_;
};

} // namespace nivex
