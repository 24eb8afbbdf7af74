#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"

#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Files/WorkspaceEntry.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <system_error>
#include <vector>

namespace nivex {

namespace fs = std::filesystem;

namespace {

/// The system's reason for a refusal; 0 is success.
using ErrorNumber = int;

bool isFolder(const fs::path& location)
{
    std::error_code ignored;
    return fs::is_directory(fs::symlink_status(location, ignored));
}

bool meansNotSupported(ErrorNumber failure)
{
    return failure == EINVAL || failure == ENOSYS || failure == EOPNOTSUPP || failure == EPERM || failure == EMLINK;
}

ErrorNumber moveByReservation(const fs::path& file, const fs::path& target)
{
    const bool folder = isFolder(file);
    if (folder) {
        if (::mkdir(target.c_str(), 0700) != 0)
            return errno;
    } else {
        const FileDescriptor reserved{::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
        if (!reserved.isOpen())
            return errno;
    }
    if (::rename(file.c_str(), target.c_str()) == 0)
        return 0;
    const ErrorNumber failure = errno;
    if (folder)
        ::rmdir(target.c_str());
    else
        ::unlink(target.c_str());
    return failure;
}

ErrorNumber moveByLink(const fs::path& file, const fs::path& target)
{
    if (::link(file.c_str(), target.c_str()) != 0)
        return errno;
    ::unlink(file.c_str());
    return 0;
}

ErrorNumber moveOnVolume(const fs::path& file, const fs::path& target, MoveMeans best)
{
    if (best == MoveMeans::renameWithoutReplacing) {
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        if (!meansNotSupported(errno))
            return errno;
    }
    if (best != MoveMeans::reservation && !isFolder(file)) {
        const ErrorNumber failure = moveByLink(file, target);
        if (!meansNotSupported(failure))
            return failure;
    }
    return moveByReservation(file, target);
}

ErrorNumber writeAll(const FileDescriptor& to, const std::byte* bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(to.get(), bytes, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return 0;
}

/// Copies contents, permissions and date and waits until the disk has them.
ErrorNumber copyContents(const fs::path& file, const FileDescriptor& to)
{
    const FileDescriptor from{::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
    struct stat status {};
    if (!from.isOpen() || ::fstat(from.get(), &status) != 0)
        return errno;
    std::vector<std::byte> buffer(1 << 20);
    for (;;) {
        const ssize_t count = ::read(from.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            break;
        if (const ErrorNumber failure = writeAll(to, buffer.data(), static_cast<std::size_t>(count)))
            return failure;
    }
    if (::fchmod(to.get(), status.st_mode & 07777) != 0 && errno != EPERM && errno != EOPNOTSUPP)
        return errno; // a volume without permissions refuses them, which harms nobody
    const timespec dates[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, status.st_mtim};
    ::futimens(to.get(), dates); // the same holds for dates
    return ::fsync(to.get()) == 0 ? 0 : errno;
}

ErrorNumber copyTree(const fs::path& folder, const fs::path& copy)
{
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || ::mkdir(copy.c_str(), status.st_mode & 0777) != 0)
        return errno;
    std::error_code failure;
    for (fs::directory_iterator each{folder, failure}, end; !failure && each != end; each.increment(failure)) {
        const fs::path target = copy / each->path().filename();
        ErrorNumber result = 0;
        if (isFolder(each->path())) {
            result = copyTree(each->path(), target);
        } else {
            const FileDescriptor to{::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
            result = to.isOpen() ? copyContents(each->path(), to) : errno;
        }
        if (result != 0)
            return result;
    }
    return failure.value();
}

/// Copies beside the target under a hidden name, which a later start can tell from a copy under way, and moves the
/// copy.
ErrorNumber moveAcrossVolumes(const fs::path& file, const fs::path& target, MoveMeans best)
{
    const bool folder = isFolder(file);
    const fs::path place = target.parent_path();
    const auto hidden = folder ? WorkspaceEntry::createFolder(place, WorkspaceEntry::hiddenPrefix)
                               : WorkspaceEntry::createFile(place, WorkspaceEntry::hiddenPrefix);
    if (!hidden)
        return errno;
    const fs::path copy = folder ? hidden->location() / "copy" : hidden->location();
    ErrorNumber failure = folder ? copyTree(file, copy) : copyContents(file, hidden->descriptor());
    if (failure == 0)
        failure = moveOnVolume(copy, target, best);
    std::error_code ignored;
    if (folder || failure != 0)
        fs::remove_all(hidden->location(), ignored);
    if (failure == 0)
        fs::remove_all(file, ignored);
    return failure;
}

} // namespace

MoveResult moveExclusively(const fs::path& file, const fs::path& target, MoveMeans best)
{
    ErrorNumber failure = moveOnVolume(file, target, best);
    if (failure == EXDEV)
        failure = moveAcrossVolumes(file, target, best);
    if (failure == 0)
        return MoveResult::moved;
    if (failure == EEXIST || failure == ENOTEMPTY)
        return MoveResult::nameTaken;
    throw destinationError(failure, target.parent_path());
}

} // namespace nivex
