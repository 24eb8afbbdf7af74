#include "NivexKit/Execution/ConversionQueue.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "tests/Support/ConversionScene.hpp"
#include "tests/Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>

namespace nivex {
namespace {

using Job = ConversionJob;
using testing::ConversionScene;
using testing::ManualMainLoop;

/// A queue whose engine works as long as the test keeps it, or until it is cancelled.
struct QueueScene : ConversionScene {
    ManualMainLoop loop;
    std::atomic<int> permits = 0;
    std::atomic<int> working = 0;
    std::atomic<int> mostWorking = 0;
    std::vector<std::string> finished; // names of the sources, in the order of finishing

    QueueScene()
    {
        engine->work = [this](const EngineRequest& request, const ProgressCallback& progress,
                              const CancellationFlag& cancellation) {
            mostWorking = std::max(mostWorking.load(), ++working);
            progress(0.5);
            while (permits.fetch_sub(1) <= 0) {
                ++permits;
                if (cancellation.isSet())
                    break;
                std::this_thread::yield();
            }
            --working;
            cancellation.check();
            std::ofstream{request.outputLocation()} << "made";
            return std::vector{request.outputLocation()};
        };
    }

    ConversionQueue queue(int limit)
    {
        return {runner(), loop, limit, [] { return Job::Time{}; }};
    }

    Uuid enqueue(ConversionQueue& queue, int count)
    {
        queue.onJobFinished = [this](const Job& job) { finished.push_back(job.source.url.filename()); };
        std::vector<ConversionQueue::Request> requests;
        for (int i = 0; i < count; ++i) {
            DetectionResult source;
            const std::string name = std::to_string(i) + ".srt";
            const bool isReached = i < 100; // the others need no file
            source.url = isReached ? folder.write(name, "source") : folder.path() / name;
            requests.emplace_back(source, plan({"srt", "vtt"}));
        }
        return queue.enqueue(requests, {}, SameFolderAsSource{});
    }

    void runUntilIdle(ConversionQueue& queue)
    {
        loop.runUntil([&] { return !queue.isBusy(); });
    }
};

TEST(ConversionQueue, RunsOneAfterTheOtherWithALimitOfOneAndNeverFewer)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(-3);
    EXPECT_EQ(queue.maxConcurrentJobs(), 1);
    scene.permits = 3;
    const Uuid batch = scene.enqueue(queue, 3);
    EXPECT_TRUE(std::holds_alternative<Job::Waiting>(queue.jobsInBatch(batch)[1]->state));
    scene.runUntilIdle(queue);
    EXPECT_EQ(scene.finished, (std::vector<std::string>{"0.srt", "1.srt", "2.srt"}));
    EXPECT_EQ(scene.mostWorking, 1);
    EXPECT_EQ(queue.progress(batch), (BatchProgress{.total = 3, .finished = 3, .succeeded = 3, .fraction = 1.0}));
    EXPECT_TRUE(queue.jobs().front().finishedAt);

    queue.clearFinished();
    EXPECT_TRUE(queue.jobs().empty());
    EXPECT_EQ(queue.progress(batch), std::nullopt);
}

TEST(ConversionQueue, SumsUpABatchAndCancelsWhatIsLeft)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(1);
    scene.permits = 1;
    const Uuid batch = scene.enqueue(queue, 3);
    const auto jobs = queue.jobsInBatch(batch);
    scene.loop.runUntil([&] { return jobs[1]->state == Job::State{Job::Running{0.5, "Conversion en VTT"}}; });
    EXPECT_EQ(queue.progress(batch), (BatchProgress{.total = 3, .finished = 1, .succeeded = 1, .fraction = 0.5}));

    queue.remove(jobs[1]->id);
    EXPECT_EQ(queue.jobs().size(), 3U) << "a running job cannot be removed";
    queue.cancelBatch(batch);
    EXPECT_EQ(scene.finished, (std::vector<std::string>{"0.srt", "2.srt"})) << "a waiting job is cancelled at once";
    scene.runUntilIdle(queue);
    scene.loop.runPosted(); // late reports must not bring a job back
    queue.cancelAll();
    EXPECT_EQ(queue.progress(batch),
              (BatchProgress{.total = 3, .finished = 3, .succeeded = 1, .cancelled = 2, .fraction = 1.0}));
    EXPECT_EQ(scene.finished.size(), 3U) << "a finished job finishes once";
}

TEST(ConversionQueue, FollowsItsLimitWhileJobsRun)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(1);
    scene.enqueue(queue, 5);
    scene.loop.runUntil([&] { return scene.working == 1; });
    queue.setMaxConcurrentJobs(3);
    scene.loop.runUntil([&] { return scene.working == 3; });

    queue.setMaxConcurrentJobs(1);
    scene.permits = 2;
    scene.loop.runUntil([&] { return scene.finished.size() == 2; });
    EXPECT_EQ(std::ranges::count_if(queue.jobs(),
                                    [](const Job& job) { return std::holds_alternative<Job::Waiting>(job.state); }),
              2)
        << "a lower limit ends no job, and none starts above it";
    scene.permits = 3;
    scene.runUntilIdle(queue);
    EXPECT_EQ(scene.finished.size(), 5U);
    EXPECT_EQ(scene.mostWorking, 3);
}

TEST(ConversionQueue, MayBeCalledByItsCallbacks)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(1);
    scene.permits = 100;
    const Uuid first = scene.enqueue(queue, 4);
    Uuid second;
    queue.onJobFinished = [&](const Job& job) {
        scene.finished.push_back(job.source.url.filename().string() + (job.batchID == first ? "" : " again"));
        if (scene.finished.size() > 1)
            return;
        queue.cancelBatch(first); // which calls this once more for each
        queue.clearFinished();
        second = queue.enqueue({{job.source, scene.plan({"srt", "vtt"})}}, {}, SameFolderAsSource{});
        queue.setMaxConcurrentJobs(2);
    };
    scene.runUntilIdle(queue);
    EXPECT_EQ(scene.finished, (std::vector<std::string>{"0.srt", "1.srt", "2.srt", "3.srt", "0.srt again"}));
    EXPECT_EQ(queue.progress(first), std::nullopt);
    EXPECT_EQ(queue.progress(second), (BatchProgress{.total = 1, .finished = 1, .succeeded = 1, .fraction = 1.0}));
}

TEST(ConversionQueue, GoesOnWhenACallbackThrows)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(1);
    scene.permits = 100;
    const Uuid batch = scene.enqueue(queue, 3);
    int changes = 0;
    queue.onJobFinished = [&](const Job&) { throw std::runtime_error{"first"}; };
    const Observation thrower = queue.observe([](const QueueChange&) { throw std::runtime_error{"second"}; });
    const Observation counter = queue.observe([&](const QueueChange&) { ++changes; });
    const auto runAndCatch = [&] {
        try {
            scene.runUntilIdle(queue);
        } catch (const std::runtime_error& thrown) {
            return std::string{thrown.what()};
        }
        return std::string{};
    };
    std::vector<std::string> caught;
    while (queue.isBusy())
        caught.push_back(runAndCatch());
    EXPECT_EQ(queue.progress(batch)->succeeded, 3U) << "the jobs behind were not started";
    EXPECT_EQ(std::ranges::count(caught, "first"), 3) << "what a callback throws is nobody's";
    EXPECT_GE(changes, 3) << "the others were not told";
    EXPECT_THROW(queue.clearFinished(), std::runtime_error);
    EXPECT_TRUE(queue.jobs().empty());
}

/// Keeps a list of the jobs by what it is told alone, as a window would, and compares it with the queue.
struct Mirror {
    ConversionQueue& queue;
    std::vector<std::pair<Uuid, Job::State>> rows{};
    std::vector<Uuid> finishedBatches{};
    int limits = 0;
    Observation observation = queue.observe([this](const QueueChange& change) { apply(change); });

    void apply(const QueueChange& change)
    {
        EXPECT_FALSE(change.isEmpty());
        const auto stateOf = [&](const Uuid& id) { return queue.job(id) ? queue.job(id)->state : Job::State{}; };
        for (const Uuid& id : change.added)
            rows.emplace_back(id, stateOf(id));
        for (const Uuid& id : change.updated)
            for (auto& [row, state] : rows)
                if (row == id)
                    state = stateOf(id);
        std::erase_if(rows, [&](const auto& row) { return std::ranges::count(change.removed, row.first) > 0; });
        finishedBatches.insert(finishedBatches.end(), change.finishedBatches.begin(), change.finishedBatches.end());
        limits += change.limit;
    }

    bool isCurrent() const
    {
        return std::ranges::equal(rows, queue.jobs(), [](const auto& row, const Job& job) {
            return row == std::pair{job.id, job.state};
        });
    }
};

TEST(ConversionQueue, TellsItsObserversOfEveryChange)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(1);
    Mirror mirror{queue};
    auto other = std::make_unique<Mirror>(queue);
    int changes = 0;
    const Observation counter = queue.observe([&](const QueueChange&) { ++changes; });
    const auto whenCurrent = [&](const char* after) {
        SCOPED_TRACE(after);
        EXPECT_TRUE(mirror.isCurrent());
        EXPECT_GT(std::exchange(changes, 0), 0);
    };

    const Uuid first = scene.enqueue(queue, 3);
    whenCurrent("queuing and starting");
    scene.loop.runUntil([&] { return queue.jobs()[0].state == Job::State{Job::Running{0.5, "Conversion en VTT"}}; });
    whenCurrent("progress");
    EXPECT_EQ(other->rows.size(), 3U);
    other.reset();
    queue.remove(queue.jobs()[2].id);
    whenCurrent("removing");
    queue.setMaxConcurrentJobs(2);
    whenCurrent("another limit");
    EXPECT_TRUE(std::holds_alternative<Job::Running>(queue.jobs()[1].state));
    queue.setMaxConcurrentJobs(2);
    EXPECT_EQ(std::exchange(changes, 0), 0) << "told of nothing";
    EXPECT_EQ(mirror.limits, 1);

    const Uuid second = queue.enqueue(
        {{.source = queue.jobs()[0].source, .plan = queue.jobs()[0].plan, .options = {.quality = 0.5}, .placement = {}},
         {.source = queue.jobs()[1].source, .plan = queue.jobs()[1].plan, .options = {}, .placement = {}}});
    EXPECT_EQ(queue.jobsInBatch(second)[0]->options.quality, 0.5);
    EXPECT_NE(queue.jobsInBatch(second)[1]->options.quality, 0.5);
    queue.remove(queue.jobsInBatch(second)[0]->id);
    EXPECT_TRUE(mirror.finishedBatches.empty());
    queue.remove(queue.jobsInBatch(second)[0]->id);
    EXPECT_EQ(mirror.finishedBatches, std::vector{second}) << "its last unfinished job was removed";
    scene.permits = 1;
    scene.loop.runUntil([&] { return scene.finished.size() == 1; });
    EXPECT_EQ(mirror.finishedBatches.size(), 1U);
    queue.cancelBatch(first);
    scene.runUntilIdle(queue);
    whenCurrent("finishing and cancelling");
    EXPECT_EQ(mirror.finishedBatches, (std::vector{second, first}));
    queue.clearFinished();
    whenCurrent("clearing");
}

TEST(ConversionQueue, HoldsTenThousandJobs)
{
    QueueScene scene;
    ConversionQueue queue = scene.queue(2);
    const Uuid batch = scene.enqueue(queue, 10'000);
    scene.permits = 5;
    scene.loop.runUntil([&] { return scene.finished.size() == 5; });
    queue.cancelAll();
    scene.runUntilIdle(queue);
    EXPECT_EQ(
        queue.progress(batch),
        (BatchProgress{.total = 10'000, .finished = 10'000, .succeeded = 5, .cancelled = 9'995, .fraction = 1.0}));
    queue.clearFinished();
    EXPECT_TRUE(queue.jobs().empty());
}

TEST(ConversionQueue, SaysInOurWordsWhatAnEngineThrew)
{
    QueueScene scene;
    scene.engine->work = [](const EngineRequest&, const ProgressCallback&,
                            const CancellationFlag&) -> std::vector<std::filesystem::path> {
        throw std::logic_error{"basic_string::substr"};
    };
    ConversionQueue queue = scene.queue(2);
    scene.enqueue(queue, 1);
    scene.runUntilIdle(queue);
    EXPECT_EQ(
        queue.jobs().front().state,
        (Job::State{Job::Failed{"L'écriture du nouveau fichier a échoué : erreur inattendue du moteur de conversion",
                                "basic_string::substr"}}));

    scene.engine->work = [](const EngineRequest&, const ProgressCallback&,
                            const CancellationFlag&) -> std::vector<std::filesystem::path> {
        throw ConversionError::unreadableSource("fichier tronqué").because("IEND: absent");
    };
    scene.enqueue(queue, 1);
    scene.runUntilIdle(queue);
    EXPECT_EQ(queue.jobs().back().state,
              (Job::State{Job::Failed{"Le fichier source ne peut pas être lu : fichier tronqué", "IEND: absent"}}));
}

TEST(ConversionQueue, EndsCleanlyWithRunningJobs)
{
    QueueScene scene;
    {
        ConversionQueue queue = scene.queue(2);
        scene.enqueue(queue, 4);
        scene.loop.runUntil([&] { return scene.working == 2; });
    }
    scene.loop.runPosted(); // what was posted for the queue that is gone
    EXPECT_TRUE(scene.finished.empty());
    EXPECT_EQ(testing::namesIn(scene.folder.path()).size(), 4U) << "a workspace is left";
    EXPECT_TRUE(operationsHaveEnded(std::chrono::seconds{60}));
}

} // namespace
} // namespace nivex
