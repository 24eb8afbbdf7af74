#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"
#include "NivexKit/Workers/ProcessHandle.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <chrono>
#include <optional>

namespace nivex {

/// One forked child of a worker program, for one request. At the end of its scope the child has ended, whatever it was
/// doing. One thread at a time.
class WorkerChild {
public:
    /// channel  carries the messages
    /// status   on which the fork server tells how the child ended
    WorkerChild(FileDescriptor channel, FileDescriptor status, ProcessHandle process)
        : channel_{std::move(channel)}, status_{std::move(status)}, process_{std::move(process)}
    {
    }
    WorkerChild(const WorkerChild&) = delete;
    WorkerChild& operator=(const WorkerChild&) = delete;
    ~WorkerChild() { end(); }

    /// Sends the request and waits for its result; the child has ended when it returns or throws.
    ///
    /// errors  ConversionError: the child's own; `cancelled` and `timedOut`; or what is to be told of a child that died
    ///         or broke the rules
    WorkerResult run(const WorkerRequest& request, const ProgressCallback& progress,
                     const CancellationFlag& cancellation, std::optional<std::chrono::milliseconds> timeLimit);

private:
    void send(std::string line) const;
    std::optional<WorkerResult> read(MessageLines& lines, const ProgressCallback& progress) const;
    bool receive(MessageLines& lines) const;
    ConversionError death(const WorkerRequest& request) const;
    std::optional<ChildEnd> receiveEnd() const;
    void end() const;

    FileDescriptor channel_;
    FileDescriptor status_;
    ProcessHandle process_;
};

} // namespace nivex
