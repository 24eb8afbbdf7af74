#pragma once

#include "NivexKit/Execution/BatchProgress.hpp"
#include "NivexKit/Execution/ConversionJob.hpp"
#include "NivexKit/Execution/ConversionRunner.hpp"
#include "NivexKit/Execution/QueueChange.hpp"
#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Foundation/Running/Observers.hpp"
#include "NivexKit/Foundation/Running/ThreadConfinement.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <ranges>
#include <unordered_map>
#include <utility>
#include <vector>

namespace nivex {

class SerialQueue;

/// Every conversion of the running program: starts the jobs in the order queued, so many at once, and publishes their
/// states. Main thread only: every member checks it and stops the program otherwise.
///
/// The callbacks run on the main thread and may call back into the queue, but not destroy it. What one of them throws
/// passes on from the call that led to it, or to the main loop, once the queue has done its own work and told everybody
/// else. Destruction cancels the running jobs and waits until they have let go; nobody is told of them any more.
class ConversionQueue {
public:
    using Clock = std::function<ConversionJob::Time()>;
    using Identifiers = std::function<Uuid()>;
    using Request = std::pair<DetectionResult, ConversionPlan>;

    /// A request with what it is to be done with, where that differs within a batch.
    struct JobRequest {
        DetectionResult source;
        ConversionPlan plan;
        ConversionOptions options;
        OutputPlacement placement;
        std::vector<JoinedSource> others = {}; // joined with the source, behind it and in this order
    };

    /// `maxConcurrentJobs` is the runner's limit when absent, and 1 when smaller. `mainLoop` must outlive the queue and
    /// run on the thread that makes it.
    ConversionQueue(ConversionRunner runner, MainLoop& mainLoop, std::optional<int> maxConcurrentJobs = {},
                    Clock now = std::chrono::system_clock::now, Identifiers newIdentifier = Uuid::random);
    ConversionQueue(const ConversionQueue&) = delete;
    ConversionQueue& operator=(const ConversionQueue&) = delete;
    ~ConversionQueue();

    std::function<void(const ConversionJob&)> onJobFinished; // once for each job that reaches a finished state

    /// Tells an observer of every change, each once and after it, until what is returned is let go.
    [[nodiscard]] Observation observe(std::function<void(const QueueChange&)> observer);

    /// Queues a job for each request, in order, and returns the identifier of their batch.
    Uuid enqueue(const std::vector<Request>& requests, const ConversionOptions& options,
                 const OutputPlacement& placement);
    Uuid enqueue(std::vector<JobRequest> requests);

    /// All jobs in the order queued, with random access. Valid until a job is queued or removed.
    auto jobs() const
    {
        mainThread_.check();
        return std::views::transform(jobs_, [](const auto& job) -> const ConversionJob& { return *job; });
    }
    /// The job of that identifier; null when there is none. Valid until the job is removed.
    const ConversionJob* job(const Uuid& id) const;
    /// The jobs of a batch in the order queued.
    std::vector<const ConversionJob*> jobsInBatch(const Uuid& batchID) const;
    /// The sum of a batch; none when it has no jobs.
    std::optional<BatchProgress> progress(const Uuid& ofBatch) const;
    /// True while any job is not finished.
    bool isBusy() const;

    int maxConcurrentJobs() const;
    /// A value below 1 counts as 1. A higher limit starts waiting jobs at once, a lower one ends none.
    void setMaxConcurrentJobs(int count);

    /// A waiting job is cancelled at once, a running one when its run gives up. Leaves unknown and finished ones alone.
    void cancel(const Uuid& id);
    void cancelBatch(const Uuid& batchID);
    void cancelAll();

    /// Removes the finished jobs.
    void clearFinished();
    /// Removes one job. A running one stays: it must be cancelled first.
    void remove(const Uuid& id);

private:
    struct Task;
    struct RunningTask {
        std::shared_ptr<Task> task;
        std::unique_ptr<SerialQueue> thread;
    };

    struct Batch {
        std::vector<Uuid> members; // in the order queued; removed jobs too
        BatchProgress counts;      // without the fraction
    };

    void startWaiting();
    void start(ConversionJob& job);
    void settle(ConversionJob& job, ConversionJob::State state);
    void cancelEach(const std::vector<Uuid>& ids);
    void forget(const ConversionJob& job);
    ConversionJob* find(const Uuid& id) const;
    void noteBatchEnd(const Uuid& id, const Batch& batch);

    // Callbacks:
    void tellChanges();
    template <class Callback, class... Arguments>
    void call(const Callback& callback, const Arguments&... arguments);

    // On a job's thread:
    void work(const std::shared_ptr<Task>& task);
    void report(const std::shared_ptr<Task>& task, const RunProgress& progress);
    // What they post to the main thread:
    void reported(Task& task);
    void finished(const Uuid& id, ConversionJob::State state);

    ThreadConfinement mainThread_;
    ConversionRunner runner_;
    MainLoop& mainLoop_;
    int maxConcurrentJobs_;
    Clock now_;
    Identifiers newIdentifier_;

    std::vector<std::unique_ptr<ConversionJob>> jobs_;
    std::unordered_map<Uuid, ConversionJob*> index_;
    std::unordered_map<Uuid, Batch> batches_;
    std::deque<Uuid> waiting_; // may hold jobs that wait no more
    std::size_t unfinished_ = 0;

    QueueChange untold_;
    Observers<QueueChange> observers_;
    std::exception_ptr thrown_; // by a callback; passed on when the queue has done its work

    std::vector<std::unique_ptr<SerialQueue>> idleThreads_;                  // kept for the next jobs
    std::unordered_map<Uuid, RunningTask> tasks_;                            // the running jobs
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true); // asked by what is posted
};

} // namespace nivex
