#pragma once

#include "NivexKit/Execution/RunProgress.hpp"

#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace nivex {

/// Passes progress on, one call at a time, until it is closed: an abandoned engine may go on reporting for a while, but
/// to nobody. Any thread.
class ProgressGate {
public:
    explicit ProgressGate(RunProgressCallback receiver) : receiver_{std::move(receiver)} {}

    /// The fraction stands until the work of the new phase tells another.
    void enter(std::string phase)
    {
        const std::lock_guard lock{mutex_};
        now_.phase = std::move(phase);
        tell();
    }

    void report(std::optional<double> fraction)
    {
        const std::lock_guard lock{mutex_};
        now_.fraction = fraction;
        tell();
    }

    /// Nothing is passed on once this has returned.
    void close()
    {
        const std::lock_guard lock{mutex_};
        receiver_ = nullptr;
    }

private:
    void tell()
    {
        if (receiver_)
            receiver_(now_);
    }

    std::mutex mutex_;
    RunProgressCallback receiver_;
    RunProgress now_;
};

} // namespace nivex
