#include "NivexKit/Foundation/Running/BlockingWork.hpp"

#include <pthread.h>

namespace nivex {
namespace {

constexpr std::size_t longestThreadName = 15; // bytes that Linux keeps of a thread's name

thread_local const SerialQueue* currentQueue = nullptr;

} // namespace

SerialQueue::~SerialQueue()
{
    {
        const std::lock_guard lock{mutex_};
        isEnding_ = true;
    }
    changed_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

void SerialQueue::post(std::function<void()> task)
{
    {
        const std::lock_guard lock{mutex_};
        tasks_.push_back(std::move(task));
        if (!thread_.joinable())
            thread_ = std::thread{[this] { work(); }};
    }
    changed_.notify_one();
}

bool SerialQueue::isCurrent() const { return currentQueue == this; }

void SerialQueue::work()
{
    currentQueue = this;
    ::pthread_setname_np(::pthread_self(), label_.substr(0, longestThreadName).c_str());
    std::unique_lock lock{mutex_};
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || !tasks_.empty(); });
        if (tasks_.empty())
            return;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr; // what the task owns must not outlast it here
        lock.lock();
    }
}

SerialQueue& BlockingWork::textSystem()
{
    // Never destroyed: at the end of the program its thread may still be at work.
    static SerialQueue& queue = *new SerialQueue{"nivex.text-system"};
    return queue;
}

} // namespace nivex
