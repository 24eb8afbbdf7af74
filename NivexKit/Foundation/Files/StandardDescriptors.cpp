#include "NivexKit/Foundation/Files/StandardDescriptors.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace nivex {

void openStandardDescriptors()
{
    constexpr int cannotStart = 126; // as shells say it
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(each, F_GETFD) < 0 && ::open("/dev/null", each == STDIN_FILENO ? O_RDONLY : O_WRONLY) != each)
            ::_exit(cannotStart);
}

} // namespace nivex
