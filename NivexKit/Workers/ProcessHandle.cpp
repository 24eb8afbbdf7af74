#include "NivexKit/Workers/ProcessHandle.hpp"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace nivex {

bool waitReadable(int descriptor, std::chrono::milliseconds time)
{
    pollfd waited{.fd = descriptor, .events = POLLIN, .revents = 0};
    const int ready = ::poll(&waited, 1, static_cast<int>(time.count()));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

bool ProcessHandle::kill() const
{
    return ::syscall(SYS_pidfd_send_signal, descriptor_.get(), SIGKILL, nullptr, 0) == 0 || errno == ESRCH;
}

bool ProcessHandle::waitForEnd(std::chrono::milliseconds time) const
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + time;
    for (auto left = time;; left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now())) {
        pollfd waited{.fd = descriptor_.get(), .events = POLLIN, .revents = 0};
        const int ready = ::poll(&waited, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready >= 0 || errno != EINTR)
            return ready > 0 && (waited.revents & POLLIN) != 0;
    }
}

} // namespace nivex
