#include "NivexKit/Execution/Placing/OrdinaryPermissions.hpp"

#include <sys/stat.h>

#include <fstream>
#include <string>
#include <system_error>

namespace nivex {

namespace fs = std::filesystem;

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

void setOrdinaryPermissions(const fs::path& location)
{
    struct stat status {};
    if (::lstat(location.c_str(), &status) != 0)
        return;
    if (S_ISREG(status.st_mode))
        ::chmod(location.c_str(), 0666 & ~fileModeMask());
    if (!S_ISDIR(status.st_mode))
        return;
    // The set-group-ID bit stays: a shared folder hands it down so that its group can use what is in it.
    ::chmod(location.c_str(), (0777 & ~fileModeMask()) | (status.st_mode & S_ISGID) | S_IRWXU);
    std::error_code failure;
    for (fs::directory_iterator each{location, failure}, end; !failure && each != end; each.increment(failure))
        setOrdinaryPermissions(each->path());
}

} // namespace nivex
