#include "NivexKit/Foundation/RunLoop.hpp"

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

void RunLoop::run()
{
    std::unique_lock lock{mutex_};
    for (;;) {
        changed_.wait(lock, [this] { return stopRequested_ || !tasks_.empty(); });
        if (std::exchange(stopRequested_, false))
            return;
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
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
