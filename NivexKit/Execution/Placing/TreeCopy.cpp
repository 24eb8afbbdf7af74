#include "NivexKit/Execution/Placing/TreeCopy.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace nivex {
namespace {

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

ErrorNumber copyFile(const Place& file, const Place& copy)
{
    const FileDescriptor to{
        ::openat(copy.folder.descriptor(), copy.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)};
    return to.isOpen() ? copyContents(file, to) : errno;
}

ErrorNumber copyFolder(const Place& folder, const Place& copy, mode_t permissions)
{
    const auto from = folder.folder.folderBelow(folder.name);
    if (!from || ::mkdirat(copy.folder.descriptor(), copy.name.c_str(), permissions) != 0)
        return errno;
    const auto to = copy.folder.folderBelow(copy.name);
    if (!to)
        return errno;
    for (const std::string& name : from->names())
        if (const ErrorNumber failure = copyEntry({*from, name}, {*to, name}))
            return failure;
    return 0;
}

} // namespace

ErrorNumber copyContents(const Place& file, const FileDescriptor& to)
{
    const FileDescriptor from{::openat(file.folder.descriptor(), file.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)};
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

ErrorNumber copyEntry(const Place& entry, const Place& copy)
{
    const auto status = entry.folder.entry(entry.name);
    if (!status)
        return errno;
    return S_ISDIR(status->st_mode) ? copyFolder(entry, copy, status->st_mode & 0777) : copyFile(entry, copy);
}

} // namespace nivex
