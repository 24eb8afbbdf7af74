#pragma once

#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <mutex>
#include <optional>

namespace nivex::worker {

/// The child's side of the channel to the application. Any thread may report.
class ReplyChannel {
public:
    explicit ReplyChannel(int channel) : channel_{channel} {}

    /// Waits for the request. Throws WorkerMessageError when the application has gone.
    WorkerRequest receiveRequest() const;

    /// Reports progress, but only steps that a person can see: at least a thousandth of the whole, and "unknown" once.
    void report(std::optional<double> fraction);

    void send(const WorkerReply& reply);

private:
    int channel_;
    std::mutex mutex_; // lines of several threads must not mix
    std::optional<std::optional<double>> lastReport_;
};

} // namespace nivex::worker
