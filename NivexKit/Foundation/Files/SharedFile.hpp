#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace nivex {

/// A file of records or settings that several processes read, change and replace, such as the history.
///
/// A reader always sees one whole version: a new version is written beside the file, forced to the disk and then put in
/// its place. A process that reads, changes and replaces holds the lock from the first to the last, so that no change
/// is lost. Nothing here throws; failures are error codes.
class SharedFile {
public:
    /// Proof that this process alone changes the file.
    class Lock {
    public:
        Lock(Lock&&) noexcept = default;
        Lock& operator=(Lock&&) = delete;
        ~Lock();

    private:
        friend SharedFile;
        explicit Lock(FileDescriptor descriptor) : descriptor_{std::move(descriptor)} {}

        FileDescriptor descriptor_;
    };

    /// A location that is a symbolic link stands for the file it points to, which keeps the link.
    explicit SharedFile(std::filesystem::path location);

    const std::filesystem::path& location() const { return location_; }

    /// How long a process may hold the lock without writing the file. A sound one needs a few milliseconds.
    static constexpr std::chrono::milliseconds usualPatience{4'000};

    /// Waits for the lock, making the folder when it is missing. None with `failure` set where that is impossible, and
    /// with `std::errc::timed_out` where another process holds the lock and the file does not change for `patience`:
    /// as long as others get on, and the file changes, the wait goes on.
    std::optional<Lock> lock(std::error_code& failure, std::chrono::milliseconds patience = usualPatience) const;

    /// The whole contents, or none: without a failure when there is no file, with one when it cannot be read, is no
    /// regular file or has more than `maxBytes`.
    std::optional<std::string> read(std::size_t maxBytes, std::error_code& failure);

    /// True when the file is no longer the one that this object last read or wrote.
    bool hasChanged() const;

    /// Makes `contents` the new version, readable by its owner only. On failure the old version stays.
    std::error_code replace(const Lock&, std::string_view contents);

    /// Moves the file to a free name beside it ("History.damaged-1.json").
    std::error_code setAside(const Lock&);

private:
    std::filesystem::path beside(std::string_view suffix) const;
    void remember(FileDescriptor descriptor);

    std::filesystem::path location_;
    // Kept open so that the system cannot give the identity of the version we know to a later one.
    FileDescriptor known_;
    struct stat knownStatus_ {};
};

} // namespace nivex
