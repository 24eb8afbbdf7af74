#pragma once

#include "NivexKit/Foundation/Running/CancellationFlag.hpp"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

namespace nivex {

/// Runs tasks one after the other, in the order of posting, on one thread of its own. The thread starts with the first
/// task; destruction waits for the tasks that were posted. Any thread may post.
class SerialQueue {
public:
    explicit SerialQueue(std::string label) : label_{std::move(label)} {}
    ~SerialQueue();

    const std::string& label() const { return label_; }
    void post(std::function<void()> task);
    /// True when called by a task of this queue.
    bool isCurrent() const;

private:
    void work();

    const std::string label_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool isEnding_ = false;
    std::thread thread_;
};

/// Work that blocks and must not run on just any thread. Work that may has no need of this: every task of the system
/// has a thread to block on.
namespace BlockingWork {

/// The one queue for all work that uses a text-layout system, labelled "nivex.text-system": such work never runs on two
/// threads at once. Lives as long as the program.
SerialQueue& textSystem();

/// Runs `work` on `queue` and waits for it; returns what it returns or throws what it throws. When `cancellation` is
/// requested meanwhile the flag that `work` is given is set, and the wait goes on until `work` has noticed; work that
/// had not begun by then throws ConversionError::cancelled in its place. Called by a task of the same queue it runs
/// `work` at once.
template <class Work>
auto run(SerialQueue& queue, const std::stop_token& cancellation, Work work)
    -> std::invoke_result_t<Work&, const CancellationFlag&>
{
    using Result = std::invoke_result_t<Work&, const CancellationFlag&>;
    CancellationFlag flag;
    const std::stop_callback setFlag{cancellation, [&flag] { flag.set(); }};
    // Shared, because the queue may still be leaving the task when its result is already here.
    const auto task = std::make_shared<std::packaged_task<Result()>>([&] {
        flag.check();
        return work(flag);
    });
    if (queue.isCurrent())
        (*task)();
    else
        queue.post([task] { (*task)(); });
    return task->get_future().get();
}

} // namespace BlockingWork
} // namespace nivex
