#include "NivexKit/Execution/History/HistoryFile.hpp"
#include "NivexKit/Execution/History/HistoryStore.hpp"
#include "tests/Support/ManualMainLoop.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace nivex {
namespace {

using namespace std::chrono_literals;
using nivex::testing::contentsOf;
using nivex::testing::ManualMainLoop;
using nivex::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const HistoryDate today = std::chrono::sys_days{std::chrono::year{2026} / 3 / 1} + 12h + 250ms;

HistoryEntry entry(std::string name, HistoryDate date = today)
{
    return {.id = Uuid::random(),
            .date = date,
            .sourceName = name,
            .sourcePath = "/photos/" + name,
            .sourceFormat = "png",
            .targetFormat = "jpeg",
            .outputPaths = {"/photos/" + name + ".jpg"},
            .outputBytes = 1234,
            .status = HistoryEntry::Status::succeeded,
            .message = {}};
}

HistoryStore store(const std::filesystem::path& file, HistoryRetention retention = HistoryRetention::forever)
{
    return HistoryStore{file, retention, [] { return today; }};
}

std::vector<std::string> names(const std::vector<HistoryEntry>& entries)
{
    std::vector<std::string> result;
    for (const HistoryEntry& each : entries)
        result.push_back(each.sourceName);
    return result;
}

TEST(HistoryFile, WritesTheAgreedMembersAndReadsThemBack)
{
    HistoryEntry failed = entry("é \"1\".png");
    failed.id = *Uuid::parse("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    failed.outputPaths = {};
    failed.outputBytes = {};
    failed.status = HistoryEntry::Status::failed;
    failed.message = "Conversion annulée.";
    const HistoryEntry early = entry("before the epoch", std::chrono::sys_days{std::chrono::year{1999} / 1 / 1} + 1us);

    EXPECT_EQ(historyText({failed}),
              R"([{"id":"3F2504E0-4F89-41D3-9A0C-0305E82C3301","date":794059200.250000,"sourceName":"é \"1\".png",)"
              R"("sourcePath":"/photos/é \"1\".png","sourceFormat":"png","targetFormat":"jpeg","outputPaths":[],)"
              R"("status":"failed","message":"Conversion annulée."}])");
    HistoryEntry rich = entry("caf\uFFFD.png");
    rich.warnings = {"Une ligne manque."};
    rich.sourcePathBytes = "Y2Fm6Q==";
    rich.outputPathsBytes = {"", "Y2Fm6Q=="};
    EXPECT_EQ(historyEntries(historyText({failed, early, rich})), (std::vector{failed, early, rich}));
    EXPECT_EQ(historyEntries("[]"), std::vector<HistoryEntry>{});
}

TEST(HistoryFile, IsDamagedOrWhole)
{
    const std::string whole = historyText({entry("a")});
    const auto changed = [&](std::string_view from, std::string_view to) {
        std::string text = whole;
        return text.replace(text.find(from), from.size(), to);
    };
    EXPECT_NE(historyEntries(changed("[{", R"([{"new":[{"id":1},[2]],)")), std::nullopt) << "a later version's member";
    EXPECT_NE(historyEntries(changed("\"outputBytes\":1234", "\"message\":null")), std::nullopt);
    const std::string damaged[] = {
        "",
        "{}",
        "[1]",
        "[[]]",
        whole.substr(0, whole.size() - 1),
        changed("\"id\"", "\"Id\""),
        changed("\"sourceName\":\"a\"", "\"sourceName\":[\"a\"]"),
        changed("\"outputPaths\":[", "\"outputPaths\":[[],"),
        changed("\"outputBytes\":1234", "\"warnings\":\"one\""),
        changed("\"succeeded\"", "\"done\""),
        changed("794059200.250000", "1e300"),
        changed("1234", "\"1234\""),
        changed("[{", R"([{"status":"failed",)"),
    };
    for (const std::string& each : damaged)
        EXPECT_EQ(historyEntries(each), std::nullopt) << each;
}

TEST(HistoryStore, KeepsTheNewestFirstUpToItsLimit)
{
    const TemporaryFolder folder;
    std::vector<HistoryEntry> full(HistoryStore::maxEntries, entry("old"));
    full.back().sourceName = "oldest";
    folder.write("History.json", historyText(full));
    HistoryStore history = store(folder / "History.json");

    history.record(entry("new", today - 3h)); // recorded last, so first, whatever its date
    EXPECT_THAT(history.entries(), SizeIs(HistoryStore::maxEntries));
    EXPECT_EQ(history.entries().front().sourceName, "new");
    EXPECT_EQ(history.entries().back().sourceName, "old");
    EXPECT_EQ(store(folder / "History.json").entries(), history.entries());
}

TEST(HistoryStore, ForgetsWhatTheRetentionDoesNotAllow)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    HistoryStore history = store(file);
    history.record(entry("older", today - 24h - 1us));
    history.record(entry("at the limit", today - 24h));
    int changes = 0;
    const Observation counter = history.observe([&] { ++changes; });

    history.setRetention(HistoryRetention::oneDay);
    EXPECT_THAT(names(history.entries()), ElementsAre("at the limit"));
    EXPECT_GT(changes, 0);
    EXPECT_THAT(names(store(file).entries()), ElementsAre("at the limit"));

    const std::string before = contentsOf(file);
    HistoryStore off = store(folder / "absent.json", HistoryRetention::off);
    off.record(entry("unseen"));
    EXPECT_THAT(off.entries(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(folder / "absent.json"));
    EXPECT_EQ(contentsOf(file), before);
}

TEST(HistoryStore, RecordsFinishedJobs)
{
    const TemporaryFolder folder;
    HistoryStore history = store(folder / "History.json");
    ConversionJob job;
    job.id = Uuid::random();
    job.source.url = "/photos/a.png";
    job.plan.source.id = "png";
    job.plan.target.id = "jpeg";
    job.state = ConversionJob::Running{};
    history.record(job);
    EXPECT_THAT(history.entries(), IsEmpty());

    job.state = ConversionJob::Succeeded{
        {.outputs = {"/photos/a 2.jpg", "/photos/caf\xE9.jpg"}, .totalBytes = 7, .warnings = {"Une ligne manque."}}};
    history.record(job);
    job.state = ConversionJob::Failed{"raison"};
    history.record(job);
    job.state = ConversionJob::Cancelled{};
    job.finishedAt = std::chrono::time_point_cast<std::chrono::system_clock::duration>(today) - 1h;
    history.record(job);

    using Status = HistoryEntry::Status;
    ASSERT_THAT(store(folder / "History.json").entries(), SizeIs(3));
    const auto& [cancelled, failed, succeeded] =
        std::tie(history.entries()[0], history.entries()[1], history.entries()[2]);
    EXPECT_EQ(succeeded.outputPaths, (std::vector<std::string>{"/photos/a 2.jpg", "/photos/caf\uFFFD.jpg"}));
    EXPECT_EQ(succeeded.outputPathsBytes, (std::vector<std::string>{"", "L3Bob3Rvcy9jYWbpLmpwZw=="}));
    EXPECT_EQ(succeeded.sourcePathBytes, "") << "a name in UTF-8 needs no bytes beside it";
    EXPECT_EQ(succeeded.warnings, std::vector<std::string>{"Une ligne manque."});
    EXPECT_EQ(succeeded.outputBytes, 7);
    EXPECT_EQ(succeeded.sourceName, "a.png");
    EXPECT_EQ(succeeded.date, today) << "the current date where a job has none";
    EXPECT_EQ(cancelled.date, today - 1h);
    EXPECT_EQ(failed.message, "raison");
    EXPECT_EQ(cancelled.status, Status::cancelled);
    EXPECT_EQ(cancelled.message, std::nullopt);
}

TEST(HistoryStore, SetsADamagedFileAside)
{
    const TemporaryFolder folder;
    const auto file = folder.write("History.json", "[{\"id\":");
    HistoryStore history = store(file);
    EXPECT_THAT(history.entries(), IsEmpty());
    EXPECT_EQ(contentsOf(file), "[{\"id\":") << "loading destroys nothing";

    history.record(entry("new"));
    EXPECT_EQ(contentsOf(folder / "History.damaged-1.json"), "[{\"id\":");
    EXPECT_THAT(names(store(file).entries()), ElementsAre("new"));
}

TEST(HistoryStore, WritesLaterWhatItCouldNotWriteAtOnce)
{
    const TemporaryFolder folder;
    folder.write("data", "a file where the folder should be");
    HistoryStore history = store(folder / "data/History.json");
    history.record(entry("first"));
    EXPECT_THAT(names(history.entries()), ElementsAre("first"));

    std::filesystem::remove(folder / "data");
    history.record(entry("second"));
    EXPECT_THAT(names(store(folder / "data/History.json").entries()), ElementsAre("second", "first"));
}

TEST(HistoryStore, SavesWhatComesTogetherWithOneWrite)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    const auto saved = [&] { return names(store(file).entries()); };
    ManualMainLoop loop;
    {
        HistoryStore batch{file, HistoryRetention::forever, [] { return today; }, &loop};
        batch.record(entry("1"));
        batch.record(entry("2"));
        EXPECT_THAT(names(batch.entries()), ElementsAre("2", "1"));
        EXPECT_THAT(saved(), IsEmpty()) << "every record is written by itself";
        store(file).record(entry("of another process"));
        EXPECT_EQ(loop.runDelayed(), 1U) << "every record asks for a save of its own";
        batch.settle();
        EXPECT_THAT(saved(), SizeIs(3));

        batch.record(entry("3"));
        batch.remove({batch.entries()[1].id});
        batch.settle();
        const auto afterRemoval = saved();
        EXPECT_THAT(afterRemoval, SizeIs(3)) << "another change leaves the record behind";
        std::filesystem::remove(file);
        loop.runDelayed();
        batch.settle();
        EXPECT_FALSE(std::filesystem::exists(file)) << "saved once more without need";
        batch.record(entry("4"));
    }
    EXPECT_THAT(saved(), ElementsAre("4", "3", "1", "of another process")) << "the last record is lost at the end";
    loop.runDelayed(); // for a store that is gone
    loop.runPosted();
}

TEST(HistoryStore, BeginsEmptyAndIsReadWithoutTheMainThread)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    const HistoryEntry unwanted = entry("unwanted");
    folder.write("History.json", historyText({entry("kept"), unwanted, entry("expired", today - 25h)}));
    ManualMainLoop loop;
    HistoryStore history{file, HistoryRetention::oneDay, [] { return today; }, &loop};
    int changes = 0;
    const Observation counter = history.observe([&] { ++changes; });
    history.record(entry("new"));
    history.remove({unwanted.id});
    EXPECT_FALSE(history.isLoaded());
    EXPECT_THAT(names(history.entries()), ElementsAre("new"));
    EXPECT_EQ(std::exchange(changes, 0), 2);

    loop.runUntil([&] { return history.isLoaded(); });
    EXPECT_THAT(names(history.entries()), ElementsAre("new", "kept"));
    EXPECT_EQ(changes, 1) << "nobody is told that it has been read";
    history.settle();
    EXPECT_THAT(names(store(file).entries()), ElementsAre("new", "kept"));

    store(file).record(entry("of another process", today - 1h));
    changes = 0;
    history.record(entry("newer"));
    history.remove({unwanted.id}); // a save at once, under way while the next things happen
    history.record(entry("meanwhile"));
    history.remove({history.entries().back().id});
    loop.runUntil([&] { return changes == 5; });
    EXPECT_THAT(names(history.entries()), ElementsAre("meanwhile", "newer", "of another process", "new"));
    history.settle();
    EXPECT_THAT(names(store(file).entries()), ElementsAre("meanwhile", "newer", "of another process", "new"));
}

TEST(HistoryStore, TriesAgainLaterWhileSomebodyKeepsTheLock)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    ManualMainLoop loop;
    HistoryStore history{file, HistoryRetention::forever, [] { return today; }, &loop};
    std::error_code failure;
    {
        const auto kept = SharedFile{file}.lock(failure);
        ASSERT_TRUE(kept);
        history.settle();
        history.record(entry("1"));
        int changes = 0;
        const Observation counter = history.observe([&] { ++changes; });
        EXPECT_EQ(loop.runDelayed(), 1U);
        loop.runUntil([&] { return changes == 1; });
        history.remove({Uuid::random()}); // a save at once
        loop.runUntil([&] { return changes == 3; });
        EXPECT_FALSE(std::filesystem::exists(file));
        EXPECT_THAT(names(history.entries()), ElementsAre("1"));
    }
    loop.runDelayed();
    history.settle();
    EXPECT_THAT(names(store(file).entries()), ElementsAre("1"));
    EXPECT_EQ(loop.runDelayed(), 0U) << "saved once more without need";
}

TEST(HistoryStore, MergesWhatAnotherStoreDid)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    HistoryStore ours = store(file);
    ours.record(entry("shared"));
    HistoryStore theirs = store(file);
    theirs.record(entry("theirs, later", today + 2s));
    ours.record(entry("ours, earlier", today + 1s));
    EXPECT_THAT(names(ours.entries()), ElementsAre("theirs, later", "ours, earlier", "shared"));

    theirs.remove({ours.entries().back().id});
    ours.record(entry("last", today + 3s));
    EXPECT_THAT(names(ours.entries()), ElementsAre("last", "theirs, later", "ours, earlier"));
    theirs.clear();
    ours.record(entry("after clearing", today + 4s));
    EXPECT_THAT(names(store(file).entries()), ElementsAre("after clearing"));
}

/// Runs `work` in a process of its own.
template <class Work>
pid_t inAnotherProcess(Work work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return child;
}

TEST(HistoryStore, LosesNoEntryOfProcessesThatFinishAtOnce)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    std::vector<pid_t> children;
    for (int i = 0; i < 200; ++i)
        children.push_back(inAnotherProcess([&] {
            HistoryStore history{file, HistoryRetention::forever};
            history.record(entry("x", HistoryStore::systemClock()));
        }));
    for (const pid_t child : children)
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);

    const std::vector<HistoryEntry> entries = store(file).entries();
    EXPECT_THAT(entries, SizeIs(200));
    EXPECT_TRUE(std::ranges::is_sorted(entries, std::ranges::greater{}, &HistoryEntry::date));
}

TEST(HistoryStore, SurvivesAProcessKilledWhileItWrites)
{
    const TemporaryFolder folder;
    const auto file = folder / "History.json";
    for (std::size_t round = 1; round <= 20; ++round) {
        int recorded[2];
        ASSERT_EQ(::pipe(recorded), 0);
        const pid_t child = inAnotherProcess([&] {
            HistoryStore history = store(file);
            for (;;) {
                history.record(entry("x"));
                if (::write(recorded[1], "x", 1) != 1)
                    return;
            }
        });
        char byte = 0;
        for (std::size_t i = 0; i < round; ++i)
            ASSERT_EQ(::read(recorded[0], &byte, 1), 1);
        ::kill(child, SIGKILL); // wherever the next write may be
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        ::close(recorded[0]);
        ::close(recorded[1]);

        const auto entries = historyEntries(contentsOf(file));
        ASSERT_TRUE(entries.has_value());
        EXPECT_GE(entries->size(), round * (round + 1) / 2) << "what was recorded is on the disk";
    }
}

} // namespace
} // namespace nivex
