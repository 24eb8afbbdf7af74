#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// What NIVEX makes for itself in a folder of the user: a folder or a file named by a prefix and a new identifier, that
/// its maker holds a lock on for as long as it is in use. A killed process loses its locks, so whatever can be locked
/// is a leftover, whenever and by whomever it was made.
class WorkspaceEntry {
public:
    /// In front of the identifier, in a folder that holds other things too.
    static constexpr std::string_view hiddenPrefix = ".nivex-";

    /// Makes a folder that only this user may enter. None when that is impossible; `errno` tells why.
    static std::optional<WorkspaceEntry> createFolder(const std::filesystem::path& parent, std::string_view prefix);
    /// Makes an empty file that only this user may read. None when that is impossible; `errno` tells why.
    static std::optional<WorkspaceEntry> createFile(const std::filesystem::path& parent, std::string_view prefix);

    const std::filesystem::path& location() const { return location_; }
    /// The file itself, open for writing, or the lock file inside the folder.
    const FileDescriptor& descriptor() const { return lock_; }

    /// Removes the leftovers among the entries of `parent` that bear `prefix`: those of this user that nobody holds.
    /// Never throws, ignores failures; safe against other processes that make or remove entries meanwhile.
    static void removeLeftovers(const std::filesystem::path& parent, std::string_view prefix);

private:
    WorkspaceEntry(std::filesystem::path location, FileDescriptor lock)
        : location_{std::move(location)}, lock_{std::move(lock)}
    {
    }

    std::filesystem::path location_;
    FileDescriptor lock_;
};

} // namespace nivex
