#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"

#include "NivexKit/Execution/Placing/TreeCopy.hpp"
#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/LockedFolder.hpp"
#include "NivexKit/Foundation/Files/TreeRemoval.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace nivex {
namespace {

bool isFolder(const Place& place)
{
    const auto status = place.folder.entry(place.name);
    return status && S_ISDIR(status->st_mode);
}

bool meansNotSupported(ErrorNumber failure)
{
    return failure == EINVAL || failure == ENOSYS || failure == EOPNOTSUPP || failure == EPERM || failure == EMLINK;
}

/// Takes a name with an empty file or folder; what it is then, or none with `errno` set.
std::optional<FileIdentity> reserve(const Place& target, bool folder)
{
    const int parent = target.folder.descriptor();
    FileDescriptor reserved;
    if (folder) {
        if (::mkdirat(parent, target.name.c_str(), 0700) != 0)
            return std::nullopt;
        reserved = FileDescriptor{::openat(parent, target.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)};
    } else {
        reserved = FileDescriptor{::openat(parent, target.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
    }
    struct stat status {};
    if (!reserved.isOpen() || ::fstat(reserved.get(), &status) != 0)
        return std::nullopt;
    return FileIdentity::of(status);
}

ErrorNumber moveByReservation(const Place& file, const Place& target)
{
    const bool folder = isFolder(file);
    const auto reserved = reserve(target, folder);
    if (!reserved)
        return errno;
    if (!target.folder.holds(target.name, *reserved))
        return EEXIST; // somebody was quicker to take our place than we
    if (::renameat(file.folder.descriptor(), file.name.c_str(), target.folder.descriptor(), target.name.c_str()) == 0)
        return 0;
    const ErrorNumber failure = errno;
    if (target.folder.holds(target.name, *reserved))
        ::unlinkat(target.folder.descriptor(), target.name.c_str(), folder ? AT_REMOVEDIR : 0);
    return failure;
}

ErrorNumber moveByLink(const Place& file, const Place& target)
{
    if (::linkat(file.folder.descriptor(), file.name.c_str(), target.folder.descriptor(), target.name.c_str(), 0) != 0)
        return errno;
    ::unlinkat(file.folder.descriptor(), file.name.c_str(), 0);
    return 0;
}

ErrorNumber moveOnVolume(const Place& file, const Place& target, MoveMeans best)
{
    if (best == MoveMeans::renameWithoutReplacing) {
        if (::renameat2(file.folder.descriptor(), file.name.c_str(), target.folder.descriptor(), target.name.c_str(),
                        RENAME_NOREPLACE) == 0)
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

/// A file without a name on the volume of a folder; not every volume has them.
FileDescriptor namelessFile(const OpenFolder& folder)
{
    return FileDescriptor{::openat(folder.descriptor(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600)};
}

ErrorNumber name(const FileDescriptor& nameless, const Place& target)
{
    const std::string itself = "/proc/self/fd/" + std::to_string(nameless.get());
    return ::linkat(AT_FDCWD, itself.c_str(), target.folder.descriptor(), target.name.c_str(), AT_SYMLINK_FOLLOW) == 0
               ? 0
               : errno;
}

/// Copies into a hidden folder beside the target, which a later start can tell from a copy under way, and moves the
/// copy.
ErrorNumber copyThroughHiddenFolder(const Place& file, const Place& target, MoveMeans best)
{
    auto hidden = LockedFolder::create(target.folder, LockedFolder::hiddenPrefix);
    if (!hidden)
        return errno;
    const Place copy{hidden->folder(), "copy"};
    ErrorNumber failure = copyEntry(file, copy);
    if (failure == 0)
        failure = moveOnVolume(copy, target, best);
    hidden->remove();
    return failure;
}

ErrorNumber copyToVolume(const Place& file, const Place& target, MoveMeans best)
{
    const FileDescriptor nameless = isFolder(file) ? FileDescriptor{} : namelessFile(target.folder);
    if (!nameless.isOpen())
        return copyThroughHiddenFolder(file, target, best);
    const ErrorNumber failure = copyContents(file, nameless);
    return failure == 0 ? name(nameless, target) : failure;
}

} // namespace

MoveResult moveExclusively(const Place& file, const Place& target, MoveMeans best)
{
    ErrorNumber failure = moveOnVolume(file, target, best);
    if (failure == EXDEV) {
        failure = copyToVolume(file, target, best);
        if (failure == 0)
            removeTree(file.folder, file.name);
    }
    if (failure == 0)
        return MoveResult::moved;
    if (failure == EEXIST || failure == ENOTEMPTY)
        return MoveResult::nameTaken;
    throw destinationError(failure, target.folder.location());
}

} // namespace nivex
