#pragma once

#include "NivexKit/Contract/EngineAvailability.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"
#include "NivexKit/Workers/WorkerProtocol.hpp"
#include "NivexKit/Workers/WorkerServer.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace nivex {

/// One piece of work for a worker program.
struct WorkerCall {
    std::string program; // "image" is the program nivex-worker-image
    EngineID engine;
    EngineRequest request;
    std::optional<std::chrono::milliseconds> timeLimit; // absent where the caller sets the cancellation flag in time
    std::int64_t page = 0;                              // for `render`
};

/// Starts the worker programs when they are first needed, hands them work and ends them. A program stays while it is
/// busy and for `idleTime` after; the next call starts it again. A program that dies takes its current jobs with it and
/// nothing else. Any thread may call, and each call blocks only its own thread.
class WorkerPool {
public:
    struct Settings {
        std::vector<std::filesystem::path> folders; // where the programs lie; the first that has one wins
        std::chrono::milliseconds idleTime{30'000};
        std::int64_t memoryBytes = std::int64_t{4} << 30; // address space of one job
        std::int64_t fileBytes = std::int64_t{16} << 30;  // size of one file that it writes
        unsigned processors = 1;                          // a job's processor time is its time limit on each of them
        std::chrono::milliseconds endingTime{5'000}; // for a killed job, which may have many gigabytes to give back
        bool showsErrors = false;                    // what the programs write to standard error is seen
        bool acceptsMissingLayers = false; // go on where the kernel refuses a required layer: only where a person asked

        /// For the program that is running on this machine: its folders beside the executable, in the build tree or in
        /// the installed libexec folder; half of the memory, between 2 and 16 GiB.
        static Settings ofThisMachine();
    };

    explicit WorkerPool(Settings settings);
    /// Ends every program. No call may be under way.
    ~WorkerPool();

    /// Whether work can be given to a program: it is installed, the kernel grants what is required, and no job of it
    /// lives on that should have ended. Starts nothing.
    EngineAvailability availability(const std::string& program) const;

    /// The names of the programs that are installed, sorted.
    std::vector<std::string> programs() const;

    // Each of the following runs in a child of its own and throws ConversionError: the work's own errors, `cancelled`
    // within 100 ms of the flag, `timedOut`, `engineUnavailable` when the program cannot be started or the sandbox is
    // incomplete, and a plain sentence for a child that died or broke the rules. The child has ended when they return
    // or throw, save for the `engineUnavailable` that says it has not; its program is then given no work until it has.

    /// What the child wrote: at least one file or folder in the working directory; the files are regular and not empty,
    /// what is in the folders was not looked at.
    std::vector<std::filesystem::path> convert(const WorkerCall& call, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation);
    /// Draws one page or picture of the input; the file, checked as those of `convert`.
    std::filesystem::path render(const WorkerCall& call, const CancellationFlag& cancellation);
    SourceProperties probe(const WorkerCall& call, const CancellationFlag& cancellation);
    /// The program's libraries, and the sandbox as a child of it really got it.
    WorkerDescription describe(const std::string& program);

private:
    using ServerPointer = std::shared_ptr<WorkerServer>;

    std::optional<std::filesystem::path> fileOf(const std::string& program) const;
    template <class Result>
    Result perform(WorkerTask task, const WorkerCall& call, const ProgressCallback& progress,
                   const CancellationFlag& cancellation);
    WorkerResult run(WorkerTask task, const WorkerCall& call, const ProgressCallback& progress,
                     const CancellationFlag& cancellation);
    bool isHeldUp(const std::string& program) const;
    WorkerRequest requestFor(WorkerTask task, const WorkerCall& call) const;
    std::unique_ptr<WorkerChild> child(const std::string& program, const CancellationFlag& cancellation);
    ServerPointer server(const std::string& program);

    Settings settings_;
    mutable std::mutex mutex_; // guards what follows
    std::map<std::string, ServerPointer> servers_;
    mutable std::map<std::string, std::vector<std::unique_ptr<WorkerChild>>> unended_; // by program
};

} // namespace nivex
