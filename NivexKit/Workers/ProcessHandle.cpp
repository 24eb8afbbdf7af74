#include "NivexKit/Workers/ProcessHandle.hpp"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>

#include <cerrno>

namespace nivex {

bool waitReadable(int descriptor, std::chrono::milliseconds time)
{
    pollfd waited{.fd = descriptor, .events = POLLIN, .revents = 0};
    const int ready = ::poll(&waited, 1, static_cast<int>(time.count()));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

void ProcessHandle::kill() const { ::syscall(SYS_pidfd_send_signal, descriptor_.get(), SIGKILL, nullptr, 0); }

} // namespace nivex
