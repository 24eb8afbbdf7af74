#include "NivexKit/Execution/Placing/OrdinaryPermissions.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

namespace nivex {

namespace {

/// The mask as it was when first asked for. umask() can only tell it by changing it, under the feet of other threads.
mode_t fileModeMask()
{
    static const mode_t mask = [] {
        std::ifstream status{"/proc/self/status"};
        for (std::string key; status >> key;)
            if (unsigned value = 0; key == "Umask:" && status >> std::oct >> value)
                return static_cast<mode_t>(value);
        return static_cast<mode_t>(0077); // unknown: rather too private than too open
    }();
    return mask;
}

} // namespace

void setOrdinaryPermissions(const Place& place)
{
    const FileDescriptor entry = place.folder.openBelow(place.name, O_PATH | O_NOFOLLOW);
    struct stat status {};
    if (!entry.isOpen() || ::fstat(entry.get(), &status) != 0)
        return;
    const std::string itself = "/proc/self/fd/" + std::to_string(entry.get());
    if (S_ISREG(status.st_mode))
        ::chmod(itself.c_str(), 0666 & ~fileModeMask());
    if (!S_ISDIR(status.st_mode))
        return;
    // The set-group-ID bit stays: a shared folder hands it down so that its group can use what is in it.
    ::chmod(itself.c_str(), (0777 & ~fileModeMask()) | (status.st_mode & S_ISGID) | S_IRWXU);
    if (const auto folder = place.folder.folderBelow(place.name))
        for (const std::string& name : folder->names())
            setOrdinaryPermissions({*folder, name});
}

} // namespace nivex
