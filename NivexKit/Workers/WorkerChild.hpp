#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"
#include "NivexKit/Workers/ProcessHandle.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <chrono>
#include <optional>

namespace nivex {

/// One forked child of a worker program, for one request. At the end of its scope the child has been killed, whatever
/// it was doing. One thread at a time.
class WorkerChild {
public:
    /// channel  carries the messages
    /// status   on which the fork server tells how the child ended
    /// endingTime  how long a killed child may take to end
    WorkerChild(FileDescriptor channel, FileDescriptor status, ProcessHandle process,
                std::chrono::milliseconds endingTime)
        : channel_{std::move(channel)}, status_{std::move(status)}, process_{std::move(process)}, endingTime_{
                                                                                                      endingTime}
    {
    }
    WorkerChild(const WorkerChild&) = delete;
    WorkerChild& operator=(const WorkerChild&) = delete;
    ~WorkerChild() { end(); }

    /// Sends the request and waits for its result; the child has ended when it returns, and when it throws unless
    /// `hasEnded` says otherwise.
    ///
    /// errors  ConversionError: the child's own; `cancelled` and `timedOut`; what is to be told of a child that died or
    ///         broke the rules; `engineUnavailable` for one that could not be ended, whatever else was wrong with it
    WorkerResult run(const WorkerRequest& request, const ProgressCallback& progress,
                     const CancellationFlag& cancellation, std::optional<std::chrono::milliseconds> timeLimit);

    bool hasEnded() const { return process_.waitForEnd(std::chrono::milliseconds{0}); }

private:
    void send(std::string line) const;
    std::optional<WorkerResult> read(MessageLines& lines, const ProgressCallback& progress) const;
    bool receive(MessageLines& lines) const;
    ConversionError death(const WorkerRequest& request) const;
    std::optional<ChildEnd> receiveEnd() const;
    bool end() const;
    void endOrThrow() const;

    FileDescriptor channel_;
    FileDescriptor status_;
    ProcessHandle process_;
    std::chrono::milliseconds endingTime_;
};

} // namespace nivex
