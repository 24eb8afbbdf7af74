#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nivex {

/// What tells a file or folder from every other one of this machine while it exists.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    static FileIdentity of(const struct stat& status) { return {status.st_dev, status.st_ino}; }

    bool operator==(const FileIdentity&) const = default;
};

/// A folder held open: work in it goes on in the same folder, whoever renames it or puts something else in its place.
/// Nothing here throws; a failure is told by `errno`.
class OpenFolder {
public:
    static std::optional<OpenFolder> open(const std::filesystem::path& location);

    /// Opens what a relative path leads to, without passing a link, another volume or the way out of this folder.
    FileDescriptor openBelow(const std::filesystem::path& path, int flags) const;
    /// The folder that such a path leads to; this folder itself for an empty path.
    std::optional<OpenFolder> folderBelow(const std::filesystem::path& path) const;

    /// Where it was when it was opened.
    const std::filesystem::path& location() const { return location_; }
    int descriptor() const { return descriptor_.get(); }

    /// What is known of the entry of that name, a link itself and not its aim; none when there is no such entry.
    std::optional<struct stat> entry(const std::string& name) const;
    /// True when that entry is the file or folder itself and not another one of its name.
    bool holds(const std::string& name, const FileIdentity& identity) const;
    /// The names in it, in no order; none of them when they cannot be read.
    std::vector<std::string> names() const;

    std::optional<FileIdentity> identity() const;
    /// True while its location still leads to it.
    bool standsAtLocation() const;

private:
    OpenFolder(std::filesystem::path location, FileDescriptor descriptor)
        : location_{std::move(location)}, descriptor_{std::move(descriptor)}
    {
    }

    std::filesystem::path location_;
    FileDescriptor descriptor_;
};

} // namespace nivex
