#pragma once

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <variant>

namespace nivex {

/// What one call of withTimeout shares between the waiting caller, the operation and whoever cancels: the first of them
/// to `finish` decides, the others are too late.
template <class Value>
class DeadlineState {
public:
    using Result = std::variant<Value, std::exception_ptr>;

    /// Keeps the first result and tells the operation to end; a later one is dropped. Any thread.
    void finish(Result result)
    {
        {
            const std::lock_guard lock{mutex_};
            if (hasFinished_)
                return;
            hasFinished_ = true;
            result_ = std::move(result);
        }
        cancellation_.set();
        finished_.notify_all();
    }

    /// The first result; `timedOut` decides when none has come before the deadline.
    Result wait(std::chrono::steady_clock::time_point deadline)
    {
        std::unique_lock lock{mutex_};
        if (!finished_.wait_until(lock, deadline, [this] { return hasFinished_; })) {
            lock.unlock();
            finish(std::make_exception_ptr(ConversionError::timedOut()));
            lock.lock();
        }
        return *std::exchange(result_, std::nullopt);
    }

    /// What the operation polls: set once its result is decided.
    const CancellationFlag& cancellation() const { return cancellation_; }

private:
    std::mutex mutex_;
    std::condition_variable finished_;
    bool hasFinished_ = false;
    std::optional<Result> result_;
    CancellationFlag cancellation_;
};

/// Runs `operation`, a function of a CancellationFlag with a result, on a thread of its own and waits for the first of
/// done, too late and cancelled. Returns the operation's result or throws its error, ConversionError::timedOut once
/// `duration` has passed, or ConversionError::cancelled once `cancellation` is requested.
///
/// An operation that lost is abandoned: its flag is set, its late result is dropped, and it ends on its own, perhaps
/// after its caller. So it must own everything that it touches.
template <class Operation>
auto withTimeout(std::chrono::nanoseconds duration, const std::stop_token& cancellation, Operation operation)
    -> std::invoke_result_t<Operation&, const CancellationFlag&>;

/// Waits until the operations of all withTimeout calls have ended, abandoned ones too, but no longer than `patience`.
/// When it returns false a program must not return from `main`, which would take the ground from under them, but leave
/// with `_Exit`.
bool operationsHaveEnded(std::chrono::milliseconds patience);

namespace abandonable {

/// Starts a thread that operationsHaveEnded waits for. Throws ConversionError when the system has none left.
void start(std::function<void()> body);

} // namespace abandonable

template <class Operation>
auto withTimeout(std::chrono::nanoseconds duration, const std::stop_token& cancellation, Operation operation)
    -> std::invoke_result_t<Operation&, const CancellationFlag&>
{
    using Value = std::invoke_result_t<Operation&, const CancellationFlag&>;
    const auto deadline = std::chrono::steady_clock::now() + duration;
    const auto state = std::make_shared<DeadlineState<Value>>();
    const std::stop_callback cancel{cancellation,
                                    [&state] { state->finish(std::make_exception_ptr(ConversionError::cancelled())); }};

    if (!state->cancellation().isSet())
        abandonable::start([state, operation = std::move(operation)]() mutable {
            std::exception_ptr failure;
            try {
                state->finish(operation(state->cancellation()));
            } catch (...) {
                failure = std::current_exception();
            }
            if (failure) // reported behind the handler, so that the caller is the last to hold the exception
                state->finish(std::move(failure));
        });

    auto result = state->wait(deadline);
    if (auto* failure = std::get_if<std::exception_ptr>(&result))
        std::rethrow_exception(std::move(*failure));
    return std::get<Value>(std::move(result));
}

} // namespace nivex
