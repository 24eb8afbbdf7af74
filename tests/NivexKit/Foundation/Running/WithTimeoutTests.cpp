#include "NivexKit/Foundation/Running/WithTimeout.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

namespace nivex {
namespace {

using namespace std::chrono_literals;

constexpr auto ample = std::chrono::hours{1};

/// An operation that lasts until the test opens it, and tells that it has begun and that it was told to end.
struct Gate {
    std::promise<void> began;
    std::promise<void> opened;
    std::atomic<bool> sawCancellation = false;

    int pass(const CancellationFlag& cancellation)
    {
        began.set_value();
        opened.get_future().wait();
        sawCancellation = cancellation.isSet();
        return 42;
    }
};

template <class Operation>
ConversionError failureOf(std::chrono::nanoseconds duration, const std::stop_token& cancellation, Operation operation)
{
    try {
        withTimeout(duration, cancellation, operation);
    } catch (const ConversionError& error) {
        return error;
    }
    return ConversionError::unsupported("nothing was thrown");
}

TEST(WithTimeout, ReturnsTheResultOrTheErrorOfTheOperation)
{
    const auto caller = std::this_thread::get_id();
    EXPECT_NE(withTimeout(ample, {}, [](const CancellationFlag&) { return std::this_thread::get_id(); }), caller);
    EXPECT_EQ(*withTimeout(ample, {}, [](const CancellationFlag&) { return std::make_unique<int>(7); }), 7);
    EXPECT_EQ(
        failureOf(ample, {}, [](const CancellationFlag&) -> int { throw ConversionError::encodingFailed("détail"); }),
        ConversionError::encodingFailed("détail"));
    EXPECT_THROW(withTimeout(ample, {}, [](const CancellationFlag&) -> int { throw std::logic_error{"other"}; }),
                 std::logic_error);
}

TEST(WithTimeout, GivesUpAtTheDeadlineAndDropsTheLateResult)
{
    const auto gate = std::make_shared<Gate>();
    EXPECT_EQ(failureOf(0s, {}, [gate](const CancellationFlag& flag) { return gate->pass(flag); }),
              ConversionError::timedOut());

    EXPECT_FALSE(operationsHaveEnded(0ms)) << "an abandoned operation is still running";
    gate->opened.set_value();
    EXPECT_TRUE(operationsHaveEnded(60s));
    EXPECT_TRUE(gate->sawCancellation);
}

TEST(WithTimeout, GivesUpWhenItsCallerIsCancelled)
{
    std::stop_source caller;
    const auto gate = std::make_shared<Gate>();
    std::thread canceller{[&] {
        gate->began.get_future().wait();
        caller.request_stop();
    }};
    EXPECT_EQ(failureOf(ample, caller.get_token(), [gate](const CancellationFlag& flag) { return gate->pass(flag); }),
              ConversionError::cancelled());
    canceller.join();
    gate->opened.set_value();
    EXPECT_TRUE(operationsHaveEnded(60s));

    bool started = false;
    EXPECT_EQ(failureOf(ample, caller.get_token(), [&](const CancellationFlag&) { return started = true; }),
              ConversionError::cancelled());
    EXPECT_FALSE(started) << "a cancelled caller must not start anything";
}

TEST(WithTimeout, DecidesOnceWhenDoneTooLateAndCancelledCoincide)
{
    for (int round = 0; round < 200; ++round) {
        std::stop_source caller;
        std::thread canceller{[&] { caller.request_stop(); }};
        try {
            EXPECT_EQ(withTimeout(std::chrono::microseconds{round}, caller.get_token(),
                                  [](const CancellationFlag&) { return std::string(100, 'x'); }),
                      std::string(100, 'x'));
        } catch (const ConversionError& error) {
            EXPECT_TRUE(error == ConversionError::cancelled() || error == ConversionError::timedOut());
        }
        canceller.join();
    }
    EXPECT_TRUE(operationsHaveEnded(60s));
}

} // namespace
} // namespace nivex
