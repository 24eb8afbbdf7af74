#include "NivexKit/Execution/ConversionQueue.hpp"

#include "NivexKit/Execution/JobFailure.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/BlockingWork.hpp"

#include <algorithm>
#include <exception>
#include <mutex>
#include <stop_token>
#include <system_error>

namespace nivex {

using Job = ConversionJob;

/// The run of one job: what its thread needs, and what it has to tell the main thread.
struct ConversionQueue::Task {
    Task(const Job& job, std::weak_ptr<const bool> queue)
        : id{job.id}, work{.plan = job.plan,
                           .input = job.source.url,
                           .properties = job.source.properties,
                           .options = job.options,
                           .placement = job.placement,
                           .others = job.others},
          queueIsAlive{std::move(queue)}
    {
    }

    const Uuid id;
    const ConversionTask work;
    const std::weak_ptr<const bool> queueIsAlive;
    std::stop_source cancellation;

    std::mutex mutex;
    RunProgress progress;        // the latest report
    bool reportIsPosted = false; // one at a time: an engine may report faster than the main thread reads
};

namespace {

/// Where a batch counts the jobs in a finished state; null for the other states.
std::size_t* countOf(const Job::State& state, BatchProgress& counts)
{
    if (std::holds_alternative<Job::Succeeded>(state))
        return &counts.succeeded;
    if (std::holds_alternative<Job::Failed>(state))
        return &counts.failed;
    return std::holds_alternative<Job::Cancelled>(state) ? &counts.cancelled : nullptr;
}

} // namespace

ConversionQueue::ConversionQueue(ConversionRunner runner, MainLoop& mainLoop, std::optional<int> maxConcurrentJobs,
                                 Clock now, Identifiers newIdentifier)
    : runner_{std::move(runner)}, mainLoop_{mainLoop},
      maxConcurrentJobs_{std::max(1, maxConcurrentJobs.value_or(runner_.limits().maxConcurrentJobs))},
      now_{std::move(now)}, newIdentifier_{std::move(newIdentifier)}
{
}

ConversionQueue::~ConversionQueue()
{
    mainThread_.check();
    alive_.reset();
    for (const auto& [id, running] : tasks_)
        running.task->cancellation.request_stop();
    tasks_.clear(); // waits for their threads
}

// Queuing and looking up

Uuid ConversionQueue::enqueue(const std::vector<Request>& requests, const ConversionOptions& options,
                              const OutputPlacement& placement)
{
    std::vector<JobRequest> jobs;
    jobs.reserve(requests.size());
    for (const auto& [source, plan] : requests)
        jobs.push_back({source, plan, options, placement});
    return enqueue(std::move(jobs));
}

Uuid ConversionQueue::enqueue(std::vector<JobRequest> requests)
{
    mainThread_.check();
    const Uuid batchID = newIdentifier_();
    if (requests.empty())
        return batchID;
    Batch& batch = batches_[batchID];
    const Job::Time now = now_();
    for (JobRequest& request : requests) {
        const Uuid id = newIdentifier_();
        jobs_.push_back(std::make_unique<Job>(Job{.id = id,
                                                  .batchID = batchID,
                                                  .source = std::move(request.source),
                                                  .plan = std::move(request.plan),
                                                  .options = std::move(request.options),
                                                  .placement = std::move(request.placement),
                                                  .createdAt = now,
                                                  .others = std::move(request.others)}));
        index_.emplace(id, jobs_.back().get());
        waiting_.push_back(id);
        batch.members.push_back(id);
        untold_.added.push_back(id);
    }
    batch.counts.total = requests.size();
    unfinished_ += requests.size();
    startWaiting();
    tellChanges();
    return batchID;
}

const Job* ConversionQueue::job(const Uuid& id) const
{
    mainThread_.check();
    return find(id);
}

std::vector<const Job*> ConversionQueue::jobsInBatch(const Uuid& batchID) const
{
    mainThread_.check();
    std::vector<const Job*> jobs;
    if (const auto batch = batches_.find(batchID); batch != batches_.end())
        for (const Uuid& id : batch->second.members)
            if (const Job* const job = find(id))
                jobs.push_back(job);
    return jobs;
}

std::optional<BatchProgress> ConversionQueue::progress(const Uuid& ofBatch) const
{
    mainThread_.check();
    const auto batch = batches_.find(ofBatch);
    if (batch == batches_.end())
        return std::nullopt;
    BatchProgress progress = batch->second.counts;
    double done = static_cast<double>(progress.finished);
    for (const auto& [id, running] : tasks_) {
        const Job* const job = find(id);
        if (job->batchID == ofBatch)
            if (const auto* state = std::get_if<Job::Running>(&job->state))
                done += state->fraction.value_or(0);
    }
    progress.fraction = done / static_cast<double>(progress.total);
    return progress;
}

bool ConversionQueue::isBusy() const
{
    mainThread_.check();
    return unfinished_ > 0;
}

int ConversionQueue::maxConcurrentJobs() const
{
    mainThread_.check();
    return maxConcurrentJobs_;
}

void ConversionQueue::setMaxConcurrentJobs(int count)
{
    mainThread_.check();
    count = std::max(1, count);
    if (count == maxConcurrentJobs_)
        return;
    maxConcurrentJobs_ = count;
    untold_.limit = true;
    startWaiting();
    tellChanges();
}

// Running

void ConversionQueue::startWaiting()
{
    while (!waiting_.empty() && tasks_.size() < static_cast<std::size_t>(maxConcurrentJobs_)) {
        Job* const job = find(waiting_.front());
        waiting_.pop_front();
        if (job && std::holds_alternative<Job::Waiting>(job->state))
            start(*job);
    }
}

void ConversionQueue::start(Job& job)
{
    if (idleThreads_.empty())
        idleThreads_.push_back(std::make_unique<SerialQueue>("nivex.job"));
    const auto task = std::make_shared<Task>(job, alive_);
    try {
        idleThreads_.back()->post([this, task] { work(task); });
    } catch (const std::system_error&) { // the system has no thread left
        idleThreads_.pop_back();
        return settle(job, failureOf(std::current_exception()));
    }
    job.state = Job::Running{};
    job.startedAt = now_();
    untold_.updated.push_back(job.id);
    tasks_.emplace(job.id, RunningTask{task, std::move(idleThreads_.back())});
    idleThreads_.pop_back();
}

void ConversionQueue::work(const std::shared_ptr<Task>& task)
{
    const std::stop_token cancellation = task->cancellation.get_token();
    const auto onProgress = [this, &task](const RunProgress& progress) { report(task, progress); };
    Job::State state = Job::Cancelled{};
    try {
        state = Job::Succeeded{runner_.run(task->work, onProgress, cancellation)};
    } catch (const ConversionError& error) {
        if (error.kind() != ConversionError::Kind::cancelled && !cancellation.stop_requested())
            state = failureOf(std::current_exception());
    } catch (...) {
        if (!cancellation.stop_requested())
            state = failureOf(std::current_exception());
    }
    mainLoop_.post([this, task, state = std::move(state)] {
        if (!task->queueIsAlive.expired())
            finished(task->id, state);
    });
}

void ConversionQueue::report(const std::shared_ptr<Task>& task, const RunProgress& progress)
{
    {
        const std::lock_guard lock{task->mutex};
        task->progress = progress;
        if (std::exchange(task->reportIsPosted, true))
            return;
    }
    mainLoop_.post([this, task] {
        if (!task->queueIsAlive.expired())
            reported(*task);
    });
}

void ConversionQueue::reported(Task& task)
{
    RunProgress progress;
    {
        const std::lock_guard lock{task.mutex};
        progress = task.progress;
        task.reportIsPosted = false;
    }
    Job* const job = find(task.id);
    if (!job || !std::holds_alternative<Job::Running>(job->state) || job->state == Job::State{progress})
        return;
    job->state = std::move(progress);
    untold_.updated.push_back(job->id);
    tellChanges();
}

void ConversionQueue::finished(const Uuid& id, Job::State state)
{
    const auto running = tasks_.find(id);
    idleThreads_.push_back(std::move(running->second.thread));
    tasks_.erase(running);
    settle(*find(id), std::move(state)); // a running job is never removed
    startWaiting();
    tellChanges();
}

void ConversionQueue::settle(Job& job, Job::State state)
{
    job.state = std::move(state);
    job.finishedAt = now_();
    --unfinished_;
    untold_.updated.push_back(job.id);
    Batch& batch = batches_.at(job.batchID);
    ++batch.counts.finished;
    ++*countOf(job.state, batch.counts);
    noteBatchEnd(job.batchID, batch);
    if (onJobFinished)
        call(onJobFinished, Job{job}); // a copy: the callback may remove the job
}

void ConversionQueue::noteBatchEnd(const Uuid& id, const Batch& batch)
{
    if (batch.counts.finished == batch.counts.total)
        untold_.finishedBatches.push_back(id);
}

// Cancelling and removing

void ConversionQueue::cancel(const Uuid& id)
{
    mainThread_.check();
    cancelEach({id});
}

void ConversionQueue::cancelBatch(const Uuid& batchID)
{
    mainThread_.check();
    if (const auto batch = batches_.find(batchID); batch != batches_.end())
        cancelEach(std::vector{batch->second.members});
}

void ConversionQueue::cancelAll()
{
    mainThread_.check();
    std::vector<Uuid> ids; // taken now: what a callback queues meanwhile is not meant
    for (const auto& job : jobs_)
        if (!job->isFinished())
            ids.push_back(job->id);
    cancelEach(ids);
}

void ConversionQueue::cancelEach(const std::vector<Uuid>& ids)
{
    for (const Uuid& id : ids) {
        if (const auto running = tasks_.find(id); running != tasks_.end())
            running->second.task->cancellation.request_stop();
        else if (Job* const job = find(id); job && !job->isFinished())
            settle(*job, Job::Cancelled{});
    }
    tellChanges();
}

void ConversionQueue::clearFinished()
{
    mainThread_.check();
    std::erase_if(jobs_, [this](const auto& job) {
        if (!job->isFinished())
            return false;
        forget(*job);
        return true;
    });
    tellChanges();
}

void ConversionQueue::remove(const Uuid& id)
{
    mainThread_.check();
    const auto found = index_.find(id);
    if (found == index_.end() || tasks_.contains(id))
        return;
    const Job* const job = found->second;
    forget(*job);
    std::erase_if(jobs_, [job](const auto& each) { return each.get() == job; });
    tellChanges();
}

/// Takes a job out of everything but the list.
void ConversionQueue::forget(const Job& job)
{
    const auto batch = batches_.find(job.batchID);
    BatchProgress& counts = batch->second.counts;
    std::size_t* const count = countOf(job.state, counts);
    --counts.total;
    if (count) {
        --*count;
        --counts.finished;
    } else {
        --unfinished_;
        noteBatchEnd(job.batchID, batch->second);
    }
    if (counts.total == 0)
        batches_.erase(batch);
    untold_.removed.push_back(job.id);
    index_.erase(job.id);
}

Job* ConversionQueue::find(const Uuid& id) const
{
    const auto found = index_.find(id);
    return found == index_.end() ? nullptr : found->second;
}

// Callbacks

Observation ConversionQueue::observe(std::function<void(const QueueChange&)> observer)
{
    mainThread_.check();
    return observers_.add(std::move(observer));
}

/// The last step of every member that changes something: tells what has changed, and passes on what a callback threw.
void ConversionQueue::tellChanges()
{
    if (const QueueChange change = std::exchange(untold_, {}); !change.isEmpty())
        call([&] { observers_.tell(change); });
    if (thrown_)
        std::rethrow_exception(std::exchange(thrown_, nullptr));
}

template <class Callback, class... Arguments>
void ConversionQueue::call(const Callback& callback, const Arguments&... arguments)
{
    try {
        Callback{callback}(arguments...); // a copy: the callback may set another in its place
    } catch (...) {
        if (!thrown_)
            thrown_ = std::current_exception();
    }
}

} // namespace nivex
