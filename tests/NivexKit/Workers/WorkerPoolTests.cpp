#include "NivexKit/Texts/Language.hpp"
#include "NivexKit/Workers/WorkerFolders.hpp"
#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace nivex::testing {
namespace {

using namespace std::chrono_literals;

TEST(WorkerPool, ConvertsAndReportsProgress)
{
    HostileHouse house;
    std::vector<std::optional<double>> fractions;
    for (const char* program : {"hostile", "checked"}) {
        WorkerCall call = house.call("copy", "caf\xE9 100 %"); // a name that is not UTF-8
        call.program = program;
        const auto outputs = house.pool.convert(call, [&](auto fraction) { fractions.push_back(fraction); }, {});
        EXPECT_EQ(outputs, (std::vector{house.workingDirectory / "caf\xE9 100 %.txt"}));
        EXPECT_EQ(contentsOf(outputs.at(0)), "hello");
    }
    EXPECT_EQ(fractions, (std::vector<std::optional<double>>{1.0, 1.0}));
}

TEST(WorkerPool, ProbesAndRefusesWhatAProgramCannotDo)
{
    HostileHouse house;
    EXPECT_EQ(house.pool.probe(house.call("probe"), {}), SourceProperties{.pixelWidth = 5});
    try {
        house.pool.render(house.call("render"), {});
        ADD_FAILURE() << "a task that the program does not have";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error.kind(), ConversionError::Kind::unsupported);
    }
}

TEST(WorkerPool, IsAnsweredInTheLanguageInUse)
{
    HostileHouse house;
    const auto refusal = [&](Language language) {
        showTextsIn(language);
        try {
            house.pool.render(house.call("render"), {});
        } catch (const ConversionError& error) {
            return error.detail();
        }
        return std::string{};
    };
    const std::string english = refusal(Language::english);
    const std::string french = refusal(Language::french); // by the same program, which goes on
    EXPECT_EQ(french, "ce programme de conversion ne connaît pas ce travail");
    EXPECT_EQ(english, "this conversion program does not know this work");
}

TEST(WorkerPool, ServesManyThreadsThroughOneServer)
{
    HostileHouse house;
    constexpr int threadCount = 4;
    constexpr int jobsPerThread = 8;
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (int job = 0; job < jobsPerThread; ++job) {
                WorkerCall call{.program = "hostile", .engine = "copy"};
                call.request.input = house.input;
                call.request.workingDirectory = house.folder / std::to_string(thread * jobsPerThread + job);
                call.request.baseName = "result";
                std::filesystem::create_directory(call.request.workingDirectory);
                right += contentsOf(house.pool.convert(call, {}, {}).at(0)) == "hello";
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, threadCount * jobsPerThread);
}

TEST(WorkerPool, LetsAnIdleServerGoAndStartsAnother)
{
    WorkerPool::Settings settings = HostileHouse::settings();
    settings.idleTime = 1ms;
    HostileHouse house{settings};
    const std::string first = house.attempt("parent");
    EXPECT_TRUE(processOf(std::stoi(first)).waitForEnd(20s)) << "it stays without work";
    EXPECT_NE(house.attempt("parent"), first);
}

TEST(WorkerPool, KeepsABusyServerBeyondItsIdleTime)
{
    WorkerPool::Settings settings = HostileHouse::settings();
    settings.idleTime = 1ms;
    HostileHouse house{settings};
    WorkerCall call = house.call("stay");
    call.timeLimit = 100ms;
    EXPECT_EQ(house.failure(call), ConversionError::timedOut()) << "the server took its busy child with it";
}

TEST(WorkerPool, SaysWhyAProgramIsNotAvailable)
{
    HostileHouse house;
    EXPECT_TRUE(house.pool.availability("hostile").isAvailable());
    const std::string missing = "le programme nivex-worker-absent manque à l'installation de NIVEX";
    EXPECT_EQ(house.pool.availability("absent"), EngineAvailability::unavailable(missing));
    WorkerCall call = house.call("copy");
    call.program = "absent";
    EXPECT_EQ(house.failure(call), ConversionError::engineUnavailable(missing));
    EXPECT_EQ(house.pool.programs(),
              (std::vector<std::string>{"checked", "hostile", "hostile-landlock2", "hostile-landlock3",
                                        "hostile-landlock5", "hostile-landlock6"}));
}

TEST(WorkerFolders, LieBesideTheProgramAndNeverInTheCurrentFolder)
{
    EXPECT_EQ(workerFolders("/opt/nivex/bin/nivex"),
              (std::vector<std::filesystem::path>{"/opt/nivex/bin/workers", "/opt/nivex/libexec/nivex"}));
    for (const char* unknown : {"", "nivex", "./nivex"})
        for (const std::filesystem::path& folder : workerFolders(unknown))
            EXPECT_TRUE(folder.is_absolute()) << folder << " for " << unknown;
    EXPECT_TRUE(runningProgram().is_absolute());
}

TEST(WorkerPool, GivesUpOnAProgramThatIsNoWorker)
{
    HostileHouse house;
    WorkerPool::Settings settings = HostileHouse::settings();
    settings.folders = {house.folder.path()};
    std::filesystem::create_symlink("/bin/true", house.folder / "nivex-worker-true");
    WorkerPool pool{settings};
    EXPECT_THROW(pool.describe("true"), ConversionError);
}

TEST(WorkerPool, RefusesMoreInputsThanAMessageHolds)
{
    HostileHouse house;
    WorkerCall call = house.call("copy");
    call.request.furtherInputs.assign(1'000, {std::filesystem::path{"/" + std::string(3'000, 'a')}, "pdf", {}});
    EXPECT_EQ(house.failure(call), ConversionError::resourceLimit("trop de fichiers à la fois"));
    EXPECT_TRUE(house.worksOn());
}

} // namespace
} // namespace nivex::testing
