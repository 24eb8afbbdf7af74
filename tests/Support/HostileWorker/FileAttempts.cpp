#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "tests/Support/HostileWorker/Attempts.hpp"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

constexpr int noAccess = O_ACCMODE; // neither reading nor writing, so that no right is asked for

fs::path object(const EngineRequest& request) { return request.baseName; }

FileDescriptor input(const EngineRequest& request)
{
    return FileDescriptor{::open(request.input.c_str(), O_RDONLY | O_CLOEXEC)};
}

#ifdef SYS_open
std::string openedByOldCall(const fs::path& path, int flags)
{
    return outcome(::syscall(SYS_open, path.c_str(), flags, 0600));
}
#else
std::string openedByOldCall(const fs::path& path, int flags) { return opened(path, flags); }
#endif

/// Sets the attributes of the original through the descriptor that may only read it.
std::string flaggedInput(const EngineRequest& request)
{
    int flags = FS_NODUMP_FL;
    return outcome(::ioctl(input(request).get(), FS_IOC_SETFLAGS, &flags));
}

std::string numberedInput(const EngineRequest& request)
{
    fsxattr attributes{};
    return outcome(::ioctl(input(request).get(), FS_IOC_FSSETXATTR, &attributes));
}

std::string attributedByPath(const fs::path& path)
{
    constexpr long fileSetAttributes = 469;
    std::array<std::uint64_t, 4> attributes{};
    return outcome(::syscall(fileSetAttributes, AT_FDCWD, path.c_str(), attributes.data(), sizeof attributes, 0));
}

/// Keeps others from the original; "done" twice over means that neither lock is one.
std::string lockedInput(const EngineRequest& request)
{
    const FileDescriptor first = input(request);
    const FileDescriptor second = input(request);
    ::flock(first.get(), LOCK_EX | LOCK_NB);
    return outcome(::flock(second.get(), LOCK_EX | LOCK_NB));
}

std::string readLink(const fs::path& path)
{
    std::array<char, 256> target{};
    return outcome(::readlink(path.c_str(), target.data(), target.size()));
}

std::string watched(const fs::path& path)
{
    const int watcher = ::inotify_init1(IN_CLOEXEC);
    return watcher < 0 ? outcome(watcher) : outcome(::inotify_add_watch(watcher, path.c_str(), IN_OPEN));
}

} // namespace

std::string opened(const fs::path& path, int flags)
{
    return outcome(FileDescriptor{::open(path.c_str(), flags | O_CLOEXEC, 0600)}.get());
}

Attempts attemptsOnFiles()
{
    // clang-format off
    return {
        {"read elsewhere",    [](auto& request) { return opened(object(request), O_RDONLY); }},
        {"list elsewhere",    [](auto& request) { return opened(object(request).parent_path(), O_RDONLY | O_DIRECTORY); }},
        {"write elsewhere",   [](auto& request) { return opened(object(request), O_WRONLY); }},
        {"create elsewhere",  [](auto& request) { return opened(object(request).string() + "-new", O_WRONLY | O_CREAT); }},
        {"remove elsewhere",  [](auto& request) { return outcome(::unlink(object(request).c_str())); }},
        {"empty elsewhere",   [](auto& request) { return outcome(::truncate(object(request).c_str(), 0)); }},
        {"open to empty",     [](auto& request) { return opened(object(request), O_RDONLY | O_TRUNC); }},
        {"open for nothing",  [](auto& request) { return opened(object(request), noAccess); }},
        {"old open",          [](auto& request) { return openedByOldCall(object(request), noAccess); }},
        {"permit elsewhere",  [](auto& request) { return outcome(::chmod(object(request).c_str(), 0777)); }},
        {"attribute",         [](auto& request) { return attributedByPath(object(request)); }},
        {"read attribute",    [](auto& request) { return outcome(::getxattr(object(request).c_str(), "user.origin", nullptr, 0)); }},
        {"list attributes",   [](auto& request) { return outcome(::listxattr(object(request).c_str(), nullptr, 0)); }},
        {"read link",         [](auto& request) { return readLink(object(request)); }},
        {"watch",             [](auto& request) { return watched(object(request)); }},
        {"write input",       [](auto& request) { return opened(request.input, O_WRONLY); }},
        {"remove input",      [](auto& request) { return outcome(::unlink(request.input.c_str())); }},
        {"permit input",      [](auto& request) { return outcome(::chmod(request.input.c_str(), 0777)); }},
        {"take input",        [](auto& request) { return outcome(::rename(request.input.c_str(), "taken")); }},
        {"link input",        [](auto& request) { return outcome(::link(request.input.c_str(), "linked")); }},
        {"flag input",        [](auto& request) { return flaggedInput(request); }},
        {"number input",      [](auto& request) { return numberedInput(request); }},
        {"lease input",       [](auto& request) { return outcome(::fcntl(input(request).get(), F_SETLEASE, F_RDLCK)); }},
        {"lock input",        [](auto& request) { return lockedInput(request); }},
        {"make link",         [](auto&) { return outcome(::symlink("/etc/passwd", "linked")); }},
        {"make pipe",         [](auto&) { return outcome(::mkfifo("pipe", 0600)); }},
    };
    // clang-format on
}

} // namespace nivex::testing
