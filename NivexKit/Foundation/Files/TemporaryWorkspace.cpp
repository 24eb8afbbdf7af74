#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"

#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Files/PrivateFolders.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

namespace nivex {

namespace fs = std::filesystem;

namespace {

std::optional<dev_t> volumeOf(const fs::path& location)
{
    struct stat status {};
    return ::stat(location.c_str(), &status) == 0 ? std::optional{status.st_dev} : std::nullopt;
}

/// The private folders, those on the volume of a destination first.
std::vector<fs::path> privateFoldersFor(const fs::path& destination)
{
    std::vector<fs::path> folders = privateFolders();
    if (const auto volume = volumeOf(destination))
        std::ranges::stable_partition(folders,
                                      [&](const fs::path& each) { return volumeOf(each.parent_path()) == volume; });
    return folders;
}

} // namespace

TemporaryWorkspace TemporaryWorkspace::create(const fs::path& folder)
{
    int failure = 0;
    if (!othersMayRenameIn(folder)) {
        if (auto locked = LockedFolder::create(folder, LockedFolder::hiddenPrefix))
            return TemporaryWorkspace{*std::move(locked)};
        failure = errno;
    }
    for (const fs::path& elsewhere : privateFoldersFor(folder)) {
        if (!preparePrivateFolder(elsewhere))
            continue;
        if (auto locked = LockedFolder::create(elsewhere, {}))
            return TemporaryWorkspace{*std::move(locked)};
        failure = failure == 0 ? errno : failure;
    }
    throw destinationError(failure, folder);
}

std::vector<fs::path> TemporaryWorkspace::removeLeftovers(const fs::path& folder)
{
    return LockedFolder::removeLeftovers(folder, LockedFolder::hiddenPrefix);
}

std::vector<fs::path> TemporaryWorkspace::removeLeftovers()
{
    std::vector<fs::path> remaining;
    for (const fs::path& folder : privateFolders())
        std::ranges::move(LockedFolder::removeLeftovers(folder, {}), std::back_inserter(remaining));
    return remaining;
}

fs::path TemporaryWorkspace::subfolder(std::string_view name) const
{
    if (::mkdirat(folder().descriptor(), std::string{name}.c_str(), 0700) != 0)
        throw destinationError(errno, root().parent_path());
    return root() / name;
}

} // namespace nivex
