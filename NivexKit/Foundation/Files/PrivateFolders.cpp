#include "NivexKit/Foundation/Files/PrivateFolders.hpp"

#include "NivexKit/Foundation/Files/UserFolders.hpp"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

namespace nivex {

namespace fs = std::filesystem;

namespace {

bool isPrivate(const fs::path& folder)
{
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Many systems give each user a group of their own and let it write to all that the user makes.
bool isOwnGroup(gid_t group)
{
    if (group != ::getegid())
        return false;
    std::array<char, 4096> memory{};
    ::group found{};
    ::group* result = nullptr;
    if (::getgrgid_r(group, &found, memory.data(), memory.size(), &result) != 0 || !result || *result->gr_mem)
        return false;
    std::array<char, 4096> userMemory{};
    ::passwd user{};
    ::passwd* userResult = nullptr;
    return ::getpwuid_r(::geteuid(), &user, userMemory.data(), userMemory.size(), &userResult) == 0 && userResult &&
           std::string_view{userResult->pw_name} == result->gr_name;
}

} // namespace

std::vector<fs::path> privateFolders()
{
    // Every user of the machine shares the temporary folders, so where the name is another user's ours bears a number.
    const std::string numbered = "NIVEX-" + std::to_string(::geteuid());
    std::vector<fs::path> folders;
    std::error_code failure;
    if (const fs::path temporary = fs::temp_directory_path(failure); !failure)
        folders = {temporary / "NIVEX", temporary / numbered};
    folders.push_back(UserFolders::of(processEnvironment()).cache);
    folders.push_back(fs::path{"/var/tmp"} / numbered);
    return folders;
}

bool preparePrivateFolder(const fs::path& folder)
{
    return (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && isPrivate(folder);
}

bool othersMayRenameIn(const fs::path& folder)
{
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0)
        return false; // nothing can be made there either
    if (status.st_uid != ::geteuid() && status.st_uid != 0)
        return true;
    if ((status.st_mode & S_ISVTX) != 0)
        return false;
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !isOwnGroup(status.st_gid));
}

} // namespace nivex
