#include "NivexKit/Foundation/Running/RunLoop.hpp"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace nivex {
namespace {

TEST(RunLoop, RunsTasksInOrderOnItsOwnThreadUntilStopped)
{
    RunLoop loop;
    std::string order;
    bool onMainThread = true;
    const auto mainThread = std::this_thread::get_id();
    const auto note = [&](char each) {
        order += each;
        onMainThread = onMainThread && std::this_thread::get_id() == mainThread;
    };

    std::thread other{[&] {
        loop.post([&] { note('a'); });
        loop.post([&] {
            note('b');
            loop.post([&] { note('d'); }); // behind what is already there
        });
        loop.post([&] { note('c'); });
    }};
    other.join();
    loop.post([&] { loop.post([&] { loop.stop(); }); });
    loop.post([&] { note('e'); }); // posted before 'd' ran
    loop.run();

    EXPECT_EQ(order, "abced");
    EXPECT_TRUE(onMainThread);
}

TEST(RunLoop, RunsDelayedTasksByTheTimeTheyAreDue)
{
    using namespace std::chrono_literals;
    RunLoop loop;
    std::string order;
    loop.postAfter(1h, [&] { order += 'x'; });
    loop.postAfter(2ms, [&] {
        order += 'b';
        loop.stop();
    });
    loop.postAfter(1ms, [&] { order += 'a'; });
    loop.run(); // sleeps until they are due, not until somebody posts
    EXPECT_EQ(order, "ab");
}

TEST(RunLoop, AStopWaitsForARunAndKeepsTheTasksBehindIt)
{
    RunLoop loop;
    int ran = 0;
    loop.stop();
    loop.post([&] {
        ++ran;
        loop.stop();
    });
    loop.post([&] { ++ran; });

    loop.run();
    EXPECT_EQ(ran, 0);
    loop.run();
    EXPECT_EQ(ran, 1);
}

} // namespace
} // namespace nivex
