#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <string_view>

namespace nivex {

namespace fs = std::filesystem;

namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

/// The kernel's own structure and flags of openat2, for which the C library has no names.
struct OpenHow {
    static constexpr std::uint64_t noOtherVolume = 0x01;
    static constexpr std::uint64_t noLinks = 0x04;
    static constexpr std::uint64_t beneath = 0x08;

    std::uint64_t flags = 0;
    std::uint64_t mode = 0;
    std::uint64_t resolve = noOtherVolume | noLinks | beneath;
};

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

} // namespace

std::optional<OpenFolder> OpenFolder::open(const fs::path& location)
{
    FileDescriptor descriptor{::open(location.c_str(), folderFlags)};
    if (!descriptor.isOpen())
        return std::nullopt;
    return OpenFolder{location, std::move(descriptor)};
}

FileDescriptor OpenFolder::openBelow(const fs::path& path, int flags) const
{
    const OpenHow how{.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC)};
    return FileDescriptor{static_cast<int>(::syscall(SYS_openat2, descriptor(), path.c_str(), &how, sizeof how))};
}

std::optional<OpenFolder> OpenFolder::folderBelow(const fs::path& path) const
{
    FileDescriptor descriptor = openBelow(path.empty() ? "." : path, folderFlags);
    if (!descriptor.isOpen())
        return std::nullopt;
    return OpenFolder{path.empty() ? location_ : location_ / path, std::move(descriptor)};
}

std::optional<struct stat> OpenFolder::entry(const std::string& name) const
{
    struct stat status {};
    if (::fstatat(descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    return status;
}

bool OpenFolder::holds(const std::string& name, const FileIdentity& identity) const
{
    const auto status = entry(name);
    return status && FileIdentity::of(*status) == identity;
}

std::vector<std::string> OpenFolder::names() const
{
    std::vector<std::string> result;
    FileDescriptor readable{::openat(descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    const std::unique_ptr<DIR, CloseFolder> folder{readable.isOpen() ? ::fdopendir(readable.get()) : nullptr};
    if (!folder)
        return result;
    readable.release();
    while (const dirent* each = ::readdir(folder.get()))
        if (const std::string_view name = each->d_name; name != "." && name != "..")
            result.emplace_back(name);
    return result;
}

std::optional<FileIdentity> OpenFolder::identity() const
{
    struct stat status {};
    if (::fstat(descriptor(), &status) != 0)
        return std::nullopt;
    return FileIdentity::of(status);
}

bool OpenFolder::standsAtLocation() const
{
    struct stat status {};
    return ::stat(location_.c_str(), &status) == 0 && identity() == FileIdentity::of(status);
}

} // namespace nivex
