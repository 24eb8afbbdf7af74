#include "NivexKit/Foundation/Running/RunLoop.hpp"

#include <utility>

namespace nivex {

void RunLoop::post(std::function<void()> task)
{
    {
        const std::lock_guard lock{mutex_};
        tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
}

void RunLoop::postAfter(std::chrono::milliseconds delay, std::function<void()> task)
{
    {
        const std::lock_guard lock{mutex_};
        delayed_.emplace(Clock::now() + delay, std::move(task));
    }
    changed_.notify_one();
}

void RunLoop::run()
{
    std::unique_lock lock{mutex_};
    for (;;) {
        takeDueTasks();
        if (std::exchange(stopRequested_, false))
            return;
        if (tasks_.empty()) {
            if (delayed_.empty()) {
                changed_.wait(lock);
            } else {
                const Clock::time_point next = delayed_.begin()->first; // the entry may go while we wait
                changed_.wait_until(lock, next);
            }
            continue;
        }
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

void RunLoop::takeDueTasks()
{
    while (!delayed_.empty() && delayed_.begin()->first <= Clock::now()) {
        tasks_.push_back(std::move(delayed_.begin()->second));
        delayed_.erase(delayed_.begin());
    }
}

void RunLoop::stop()
{
    {
        const std::lock_guard lock{mutex_};
        stopRequested_ = true;
    }
    changed_.notify_one();
}

} // namespace nivex
