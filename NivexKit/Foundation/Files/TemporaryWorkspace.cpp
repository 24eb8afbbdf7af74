#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"

#include "NivexKit/Foundation/Files/DestinationError.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

namespace nivex {

namespace fs = std::filesystem;

namespace {

bool isPrivate(const fs::path& folder)
{
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 0022) == 0;
}

/// The folder "NIVEX" in the system's temporary folder. Every user of the machine shares that one, so where the name is
/// another user's the folder bears our number too.
std::optional<fs::path> temporaryFolder()
{
    std::error_code failure;
    const fs::path shared = fs::temp_directory_path(failure);
    if (failure)
        return std::nullopt;
    for (const std::string& name : {std::string{"NIVEX"}, "NIVEX-" + std::to_string(::geteuid())}) {
        const fs::path folder = shared / name;
        if ((::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && isPrivate(folder))
            return folder;
    }
    return std::nullopt;
}

} // namespace

TemporaryWorkspace TemporaryWorkspace::create(const fs::path& folder)
{
    if (auto entry = WorkspaceEntry::createFolder(folder, WorkspaceEntry::hiddenPrefix))
        return TemporaryWorkspace{std::move(*entry)};
    const int failure = errno;
    if (const auto elsewhere = temporaryFolder())
        if (auto entry = WorkspaceEntry::createFolder(*elsewhere, {}))
            return TemporaryWorkspace{std::move(*entry)};
    throw destinationError(failure, folder);
}

void TemporaryWorkspace::removeLeftovers(const fs::path& folder)
{
    WorkspaceEntry::removeLeftovers(folder, WorkspaceEntry::hiddenPrefix);
}

void TemporaryWorkspace::removeLeftovers()
{
    if (const auto folder = temporaryFolder())
        WorkspaceEntry::removeLeftovers(*folder, {});
}

fs::path TemporaryWorkspace::subfolder(std::string_view name) const
{
    fs::path folder = root() / name;
    if (::mkdir(folder.c_str(), 0700) != 0)
        throw destinationError(errno, root().parent_path());
    return folder;
}

void TemporaryWorkspace::remove() noexcept
{
    std::error_code ignored;
    if (!root().empty())
        fs::remove_all(root(), ignored);
}

} // namespace nivex
