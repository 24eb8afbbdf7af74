#include "NIVEX/Model/Destination.hpp"

#include "NivexKit/Foundation/Files/DestinationError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nivex {
namespace {

namespace fs = std::filesystem;

bool isOwn(const fs::path& folder)
{
    struct stat status {};
    return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

/// "out/" names the folder "out".
fs::path withoutSlash(const fs::path& folder) { return folder.has_filename() ? folder : folder.parent_path(); }

} // namespace

std::optional<std::string> prepareFolder(const fs::path& folder, bool isOnlyAsked)
{
    const fs::path wanted = withoutSlash(folder);
    std::error_code failure;
    if (fs::exists(fs::symlink_status(wanted, failure)))
        return problemOf(wanted);
    const fs::path above = wanted.has_parent_path() ? wanted.parent_path() : fs::path{"."};
    if (!isOwn(above))
        return problemOf(wanted);
    if (const auto problem = problemOf(above); problem || isOnlyAsked)
        return problem;
    if (!fs::create_directory(wanted, failure) && failure)
        return destinationError(failure.value(), wanted).message();
    return std::nullopt;
}

fs::path folderOf(const OutputDestination& destination, const fs::path& source)
{
    const auto* chosen = std::get_if<DestinationFolder>(&destination);
    const fs::path folder = chosen ? chosen->location : source.parent_path();
    return folder.empty() ? fs::path{"."} : folder;
}

std::optional<std::string> problemOf(const fs::path& folder)
{
    std::error_code ignored;
    const fs::file_type type = fs::status(folder, ignored).type();
    if (type != fs::file_type::directory && type != fs::file_type::none) // none: we may not even look
        return ConversionError::destinationUnavailable(type == fs::file_type::not_found ? "le dossier n'existe plus"_fr
                                                                                        : "ce n'est pas un dossier"_fr)
            .message();
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return noWritePermission(folder).message();
    return std::nullopt;
}

} // namespace nivex
