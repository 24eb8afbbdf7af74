#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"
#include "NivexKit/Workers/ProcessHandle.hpp"
#include "NivexKit/Workers/WorkerChild.hpp"

#include <chrono>
#include <filesystem>
#include <memory>

namespace nivex {

/// A running worker program, which forks a child for each request. Any thread may ask it for children.
class WorkerServer {
public:
    struct Start {
        std::chrono::milliseconds idleTime;   // how long the program stays without work
        std::chrono::milliseconds endingTime; // how long a killed child may take to end
        bool showsErrors = false;             // let it write to this program's standard error
    };

    /// Starts the program; null when that is impossible.
    static std::unique_ptr<WorkerServer> start(const std::filesystem::path& program, const Start& how);

    WorkerServer(const WorkerServer&) = delete;
    WorkerServer& operator=(const WorkerServer&) = delete;
    /// Ends the program, and with it any child that is left.
    ~WorkerServer();

    bool hasEnded() const;
    const ProcessHandle& process() const { return process_; }

    /// A new child; null when the program has ended or answers nothing for too long.
    /// Throws ConversionError::cancelled.
    std::unique_ptr<WorkerChild> fork(const CancellationFlag& cancellation) const;

private:
    WorkerServer(FileDescriptor control, ProcessHandle process, std::chrono::milliseconds endingTime)
        : control_{std::move(control)}, process_{std::move(process)}, endingTime_{endingTime}
    {
    }

    FileDescriptor control_;
    ProcessHandle process_;
    std::chrono::milliseconds endingTime_;
};

} // namespace nivex
