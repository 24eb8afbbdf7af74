#pragma once

#include <chrono>
#include <functional>

namespace nivex {

/// The thread on which the long-lived objects live. The command line runs its own small loop, a window toolkit its own.
class MainLoop {
public:
    virtual ~MainLoop() = default;

    /// Runs `task` on the main thread, later and in the order of posting. Any thread may post.
    virtual void post(std::function<void()> task) = 0;

    /// Runs `task` on the main thread once `delay` has passed, or somewhat later while other tasks keep it. Any thread.
    virtual void postAfter(std::chrono::milliseconds delay, std::function<void()> task) = 0;
};

} // namespace nivex
