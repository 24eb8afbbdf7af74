#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <mutex>
#include <optional>
#include <utility>

namespace nivex {

/// Passes progress on, one call at a time, until it is closed: an abandoned engine may go on reporting for a while, but
/// to nobody. Any thread.
class ProgressGate {
public:
    explicit ProgressGate(ProgressCallback receiver) : receiver_{std::move(receiver)} {}

    void report(std::optional<double> fraction)
    {
        const std::lock_guard lock{mutex_};
        if (receiver_)
            receiver_(fraction);
    }

    /// Nothing is passed on once this has returned.
    void close()
    {
        const std::lock_guard lock{mutex_};
        receiver_ = nullptr;
    }

private:
    std::mutex mutex_;
    ProgressCallback receiver_;
};

} // namespace nivex
