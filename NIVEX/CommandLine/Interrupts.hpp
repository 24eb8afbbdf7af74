#pragma once

#include <functional>

namespace nivex {
class MainLoop;
}

namespace nivex::commandline {

/// The exit status of a call that the user stopped.
constexpr int interruptedStatus = 130;

/// Makes Ctrl-C (and the signals that ask a program to end) leave with that status at once. Called first in main().
void leaveOnInterrupt();

/// While it lives, the first Ctrl-C says that it stops and runs `stop` on the main loop; the second leaves at once,
/// without cleaning up: the next start does. One at a time.
class InterruptHandler {
public:
    InterruptHandler(MainLoop& loop, std::function<void()> stop);
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;
    ~InterruptHandler();

    bool wasInterrupted() const;
};

} // namespace nivex::commandline
