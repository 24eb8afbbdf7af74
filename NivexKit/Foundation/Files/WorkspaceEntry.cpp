#include "NivexKit/Foundation/Files/WorkspaceEntry.hpp"

#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <vector>

namespace nivex {

namespace fs = std::filesystem;

namespace {

/// Inside a folder, the file that carries its lock. A file, because network volumes do not share locks on folders.
constexpr std::string_view lockName = "lock";

/// How often another name is tried when somebody sweeps a new entry away before it is locked.
constexpr int creationAttempts = 16;

fs::path newLocation(const fs::path& parent, std::string_view prefix)
{
    return parent / (std::string{prefix} + Uuid::random().text());
}

bool isEntryName(std::string_view name, std::string_view prefix)
{
    if (!name.starts_with(prefix))
        return false;
    const std::string_view identifier = name.substr(prefix.size());
    const auto uuid = Uuid::parse(identifier);
    return uuid && uuid->text() == identifier;
}

enum class LockResult { taken, held, impossible };

LockResult takeLock(const FileDescriptor& file)
{
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return LockResult::taken;
    return errno == EWOULDBLOCK ? LockResult::held : LockResult::impossible;
}

/// True while the open file still stands at `location`: a sweep may have renamed or removed it before it was locked.
bool standsAt(const fs::path& location, const FileDescriptor& file)
{
    struct stat there {};
    struct stat here {};
    return ::lstat(location.c_str(), &there) == 0 && ::fstat(file.get(), &here) == 0 && there.st_dev == here.st_dev &&
           there.st_ino == here.st_ino;
}

/// Locks what was just made at `location`; false when a sweep was faster. A volume without locks keeps its entries
/// unlocked: there no sweep can take a lock either, so nothing is ever removed.
bool claim(const fs::path& location, const FileDescriptor& file)
{
    return file.isOpen() && takeLock(file) != LockResult::held && standsAt(location, file);
}

FileDescriptor openLock(const fs::path& folder)
{
    return FileDescriptor{
        ::open((folder / lockName).c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600)};
}

bool isOwnFolder(const struct stat& status) { return S_ISDIR(status.st_mode) && status.st_uid == ::geteuid(); }
bool isOwnFile(const struct stat& status) { return S_ISREG(status.st_mode) && status.st_uid == ::geteuid(); }

void removeIfLeftover(const fs::path& entry, const fs::path& parent, std::string_view prefix)
{
    struct stat status {};
    if (::lstat(entry.c_str(), &status) != 0 || (!isOwnFolder(status) && !isOwnFile(status)))
        return;
    const bool isFolder = S_ISDIR(status.st_mode);
    // A folder without a lock file is one whose maker died, or is about to lock it: the file we make ends that chance.
    const FileDescriptor lock =
        isFolder ? openLock(entry)
                 : FileDescriptor{::open(entry.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
    if (!lock.isOpen() || takeLock(lock) != LockResult::taken || !standsAt(isFolder ? entry / lockName : entry, lock))
        return;
    // Under another name nobody who has only just made the entry can still open a lock of his own inside it.
    const fs::path doomed = newLocation(parent, prefix);
    std::error_code ignored;
    if (::rename(entry.c_str(), doomed.c_str()) == 0)
        fs::remove_all(doomed, ignored);
}

} // namespace

std::optional<WorkspaceEntry> WorkspaceEntry::createFolder(const fs::path& parent, std::string_view prefix)
{
    for (int attempt = 0; attempt < creationAttempts; ++attempt) {
        fs::path location = newLocation(parent, prefix);
        if (::mkdir(location.c_str(), 0700) != 0)
            return std::nullopt;
        FileDescriptor lock = openLock(location);
        if (claim(location / lockName, lock))
            return WorkspaceEntry{std::move(location), std::move(lock)};
        if (!lock.isOpen() && errno != ENOENT) {
            const int failure = errno;
            ::rmdir(location.c_str());
            errno = failure;
            return std::nullopt;
        }
    }
    errno = EBUSY;
    return std::nullopt;
}

std::optional<WorkspaceEntry> WorkspaceEntry::createFile(const fs::path& parent, std::string_view prefix)
{
    for (int attempt = 0; attempt < creationAttempts; ++attempt) {
        fs::path location = newLocation(parent, prefix);
        FileDescriptor file{::open(location.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
        if (!file.isOpen())
            return std::nullopt;
        if (claim(location, file))
            return WorkspaceEntry{std::move(location), std::move(file)};
    }
    errno = EBUSY;
    return std::nullopt;
}

void WorkspaceEntry::removeLeftovers(const fs::path& parent, std::string_view prefix)
{
    std::error_code failure;
    std::vector<fs::path> entries; // collected first: the sweep renames while it works
    for (fs::directory_iterator each{parent, failure}, end; !failure && each != end; each.increment(failure))
        if (isEntryName(each->path().filename().native(), prefix))
            entries.push_back(each->path());
    for (const fs::path& entry : entries)
        removeIfLeftover(entry, parent, prefix);
}

} // namespace nivex
