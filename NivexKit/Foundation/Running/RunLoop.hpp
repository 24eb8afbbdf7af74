#pragma once

#include "NivexKit/Foundation/Running/MainLoop.hpp"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

namespace nivex {

/// A main loop of its own, for programs without a window toolkit. The thread that calls `run` is the main thread.
class RunLoop : public MainLoop {
public:
    void post(std::function<void()> task) override;
    void postAfter(std::chrono::milliseconds delay, std::function<void()> task) override;

    /// Runs the posted tasks, in order, until `stop`; blocks while there are none. What a task throws leaves `run`,
    /// which may be called again. Tasks behind the stop, and those that are not due, stay for the next call.
    void run();

    /// Ends the `run` under way, or the next one, after the task at hand. Any thread, but not a signal handler: a
    /// program that stops at a signal waits for it on a thread of its own.
    void stop();

private:
    using Clock = std::chrono::steady_clock;

    void takeDueTasks();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    std::multimap<Clock::time_point, std::function<void()>> delayed_; // equal times in the order of posting
    bool stopRequested_ = false;
};

} // namespace nivex
