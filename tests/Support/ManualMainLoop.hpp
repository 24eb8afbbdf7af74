#pragma once

#include "NivexKit/Foundation/Running/MainLoop.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace nivex::testing {

/// A main loop whose turns the test takes, on the thread of the test.
class ManualMainLoop : public MainLoop {
public:
    void post(std::function<void()> task) override
    {
        {
            const std::lock_guard lock{mutex_};
            tasks_.push_back(std::move(task));
        }
        posted_.notify_all();
    }

    void postAfter(std::chrono::milliseconds, std::function<void()> task) override
    {
        const std::lock_guard lock{mutex_};
        delayed_.push_back(std::move(task));
    }

    /// Lets the time pass that delayed tasks wait for, and runs them. Returns how many there were.
    std::size_t runDelayed()
    {
        std::deque<std::function<void()>> due;
        {
            const std::lock_guard lock{mutex_};
            due.swap(delayed_);
        }
        for (const std::function<void()>& task : due)
            task();
        return due.size();
    }

    /// Runs what has been posted by now, and what that posts. Returns how many tasks ran.
    std::size_t runPosted()
    {
        std::size_t count = 0;
        while (runNext(std::chrono::milliseconds{0}))
            ++count;
        return count;
    }

    /// Runs tasks, waiting for other threads to post them, until `isDone`, which is asked before each task.
    /// Throws, and so fails the test, when nothing more comes.
    void runUntil(const std::function<bool()>& isDone)
    {
        while (!isDone())
            if (!runNext(std::chrono::seconds{60}))
                throw std::runtime_error{"the main loop waits for a task that nobody posts"};
    }

    std::size_t waiting() const
    {
        const std::lock_guard lock{mutex_};
        return tasks_.size();
    }

private:
    bool runNext(std::chrono::milliseconds patience)
    {
        std::unique_lock lock{mutex_};
        if (!posted_.wait_for(lock, patience, [this] { return !tasks_.empty(); }))
            return false;
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        return true;
    }

    mutable std::mutex mutex_;
    std::condition_variable posted_;
    std::deque<std::function<void()>> tasks_;
    std::deque<std::function<void()>> delayed_;
};

} // namespace nivex::testing
