#include "NivexKit/Foundation/Running/BlockingWork.hpp"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

namespace nivex {
namespace {

std::string threadName(const CancellationFlag&)
{
    char name[16] = {};
    ::pthread_getname_np(::pthread_self(), name, sizeof name);
    return name;
}

TEST(BlockingWork, TextWorkOfAllThreadsRunsOneAtATimeOnOneNamedThread)
{
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    std::thread::id threads[4];
    std::vector<std::thread> callers;
    for (std::thread::id& thread : threads)
        callers.emplace_back([&] {
            for (int i = 0; i < 50; ++i)
                BlockingWork::run(BlockingWork::textSystem(), {}, [&](const CancellationFlag&) {
                    overlapped = overlapped || ++inside != 1;
                    thread = std::this_thread::get_id();
                    --inside;
                });
        });
    for (std::thread& caller : callers)
        caller.join();

    EXPECT_FALSE(overlapped);
    for (const std::thread::id& thread : threads)
        EXPECT_EQ(thread, threads[0]);
    EXPECT_EQ(BlockingWork::textSystem().label(), "nivex.text-system");
    EXPECT_EQ(BlockingWork::run(BlockingWork::textSystem(), {}, threadName), "nivex.text-syst");
}

TEST(BlockingWork, HandsBackResultsAndErrorsAndRunsNestedWorkAtOnce)
{
    SerialQueue queue{"test"};
    const auto nested = [&](const CancellationFlag&) {
        return 1 + BlockingWork::run(queue, {}, [](const CancellationFlag&) { return 41; });
    };
    EXPECT_EQ(BlockingWork::run(queue, {}, nested), 42);
    EXPECT_THROW(BlockingWork::run(queue, {}, [](const CancellationFlag&) { throw std::logic_error{"x"}; }),
                 std::logic_error);
}

TEST(BlockingWork, TellsRunningWorkOfACancellationAndWaitsForIt)
{
    SerialQueue queue{"test"};
    std::stop_source caller;
    bool ended = false;
    const auto untilCancelled = [&](const CancellationFlag& cancellation) {
        caller.request_stop();
        while (!cancellation.isSet())
            std::this_thread::yield();
        ended = true;
    };
    BlockingWork::run(queue, caller.get_token(), untilCancelled);
    EXPECT_TRUE(ended);

    bool began = false;
    EXPECT_THROW(BlockingWork::run(queue, caller.get_token(), [&](const CancellationFlag&) { began = true; }),
                 ConversionError);
    EXPECT_FALSE(began) << "work of a cancelled caller is not begun";
}

} // namespace
} // namespace nivex
