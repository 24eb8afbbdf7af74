#include "NivexKit/Execution/ConversionRunner.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "tests/Support/ConversionScene.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <string>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::ConversionScene;
using testing::namesIn;
using Files = std::vector<fs::path>;

/// Writes one file of that name in the step's folder.
fs::path written(const EngineRequest& request, const std::string& name, const std::string& contents = "made")
{
    std::ofstream{request.workingDirectory / name, std::ios::binary} << contents;
    return request.workingDirectory / name;
}

TEST(ConversionRunner, PutsTheResultInPlaceAndLeavesNothingElse)
{
    ConversionScene scene;
    const fs::path input = scene.folder.write("..\xE9t\xE9:1.srt", "source");
    scene.folder.write("été-1.vtt", "somebody's");

    const ConversionOutcome outcome = scene.run(scene.plan({"srt", "vtt"}), input);

    EXPECT_EQ(outcome, (ConversionOutcome{.outputs = {scene.folder / "été-1 2.vtt"}, .totalBytes = 3}));
    EXPECT_EQ(testing::contentsOf(outcome.outputs.front()), "vtt");
    EXPECT_EQ(testing::contentsOf(input), "source");
    EXPECT_EQ(testing::contentsOf(scene.folder / "été-1.vtt"), "somebody's");
    EXPECT_EQ(namesIn(scene.folder.path()).size(), 3U);
    EXPECT_EQ(fs::status(outcome.outputs.front()).permissions(), fs::status(input).permissions());
}

TEST(ConversionRunner, GivesTheResultTheNameAndTheDateThatAreWanted)
{
    ConversionScene scene;
    const fs::path input = scene.input();
    fs::last_write_time(input, fs::last_write_time(input) - std::chrono::hours{1000});
    scene.folder.write("Plage.webvtt", "somebody's");
    ConversionTask task{.plan = scene.plan({"srt", "vtt"}), .input = input};
    task.placement.fileName = "Plage.webvtt";
    task.placement.keepsDate = true;
    const Files outputs = scene.runner().run(task, {}, {}).outputs;
    EXPECT_EQ(outputs, Files{scene.folder / "Plage 2.webvtt"});
    EXPECT_EQ(fs::last_write_time(outputs.front()), fs::last_write_time(input));
    task.placement = SameFolderAsSource{};
    EXPECT_GT(fs::last_write_time(scene.runner().run(task, {}, {}).outputs.front()), fs::last_write_time(input));
}

TEST(ConversionRunner, HandsEachStepWhatThePreviousOneMade)
{
    ConversionScene scene;
    std::vector<std::string> steps;
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback& progress, const CancellationFlag&) {
        progress(0.5);
        progress(std::nullopt);
        steps.push_back(request.workingDirectory.filename().string() + " " + request.input.filename().string() + " " +
                        request.sourceFormat.id.rawValue + " " + request.targetFormat.id.rawValue);
        return Files{written(request, request.baseName + "." + request.targetFormat.id.rawValue)};
    };
    std::vector<std::optional<double>> fractions;
    const auto note = [&](std::optional<double> fraction) { fractions.push_back(fraction); };

    scene.run(scene.plan({"srt", "vtt", "txt"}), scene.input(), {}, note);

    EXPECT_EQ(steps, (std::vector<std::string>{"step-0 film.srt srt vtt", "step-1 film.vtt vtt txt"}));
    EXPECT_EQ(fractions, (std::vector<std::optional<double>>{0.25, std::nullopt, 0.75, std::nullopt}));
    EXPECT_TRUE(fs::exists(scene.folder / "film.txt"));
}

TEST(ConversionRunner, HandsOnAllTheFilesOfAStepAndPlacesFolders)
{
    ConversionScene scene;
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        if (request.targetFormat.id == "vtt")
            return Files{written(request, "page 1.vtt"), written(request, "page 2.vtt")};
        const fs::path folder = request.workingDirectory / (request.baseName + ".txt");
        fs::create_directories(folder / "inside");
        std::ofstream{folder / "inside" / "leaf"} << "1234";
        return Files{folder};
    };
    const ConversionOutcome outcome = scene.run(scene.plan({"srt", "vtt", "txt"}), scene.input());
    EXPECT_EQ(outcome, (ConversionOutcome{.outputs = {scene.folder / "page 1.txt", scene.folder / "page 2.txt"},
                                          .totalBytes = 8}));
}

TEST(ConversionRunner, TwoOutputsOfOneRunNeverShareAName)
{
    ConversionScene scene;
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        return Files{written(request, "Page.vtt"), written(request, "page.vtt")};
    };
    EXPECT_EQ(scene.run(scene.plan({"srt", "vtt"}), scene.input()).outputs,
              (Files{scene.folder / "Page.vtt", scene.folder / "page 2.vtt"}));
}

TEST(ConversionRunner, RefusesBeforeAnythingIsMade)
{
    ConversionScene scene;
    const fs::path input = scene.input();
    const ConversionPlan plan = scene.plan({"srt", "vtt"});
    const fs::path file = scene.folder.write("file", "");
    ConversionPlan unknownEngine = plan;
    unknownEngine.steps[0].engine = "elsewhere";
    ConversionPlan unknownFormat = plan;
    unknownFormat.steps[0].target = "no-such-format";
    ConversionOptions sized;
    sized.maxFileBytes = 1000;
    ConversionOptions senseless;
    senseless.maxFileBytes = 0;
    const auto into = [](const fs::path& folder) { return DestinationFolder{folder}; };
    const OutputDestination beside = SameFolderAsSource{};

    struct Case {
        const char* fault;
        ConversionPlan plan;
        fs::path input;
        ConversionOptions options;
        OutputDestination destination;
        ConversionError expected;
    };
    const Case cases[] = {
        {"target size without sense", plan, input, senseless, beside,
         ConversionError::unsupported("le poids cible doit être compris entre 1 octet et 1 Go")},
        {"target size of a format without one, asked before the folder", plan, input, sized, into("/gone"),
         ConversionError::unsupported("ce format ne propose pas de poids cible")},
        {"folder is gone",
         plan,
         input,
         {},
         into(scene.folder / "gone"),
         ConversionError::destinationUnavailable("le dossier n'existe plus")},
        {"folder is a file",
         plan,
         input,
         {},
         into(file),
         ConversionError::destinationUnavailable("le dossier n'existe plus")},
        {"source is gone",
         plan,
         scene.folder / "gone.srt",
         {},
         beside,
         ConversionError::unreadableSource("le fichier n'existe plus")},
        {"engine unknown", unknownEngine, input, {}, beside, ConversionError::engineUnavailable("elsewhere")},
        {"format unknown", unknownFormat, input, {}, beside, ConversionError::unsupported("format inconnu")},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(scene.failure(each.plan, each.input, each.options, each.destination), each.expected);
        EXPECT_EQ(namesIn(scene.folder.path()), (std::vector<std::string>{"file", "film.srt"}));
    }
}

TEST(ConversionRunner, RefusesAFolderThatItMayNotWriteTo)
{
    ConversionScene scene;
    const fs::path folder = scene.folder / "Vidéos";
    fs::create_directory(folder);
    fs::permissions(folder,
                    fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(scene.folder.path(), fs::perms::owner_all | fs::perms::others_exec);
    const fs::path input = scene.input();
    const uid_t user = ::geteuid();
    if (user == 0) { // who may write everywhere
        ASSERT_EQ(::seteuid(65534), 0);
    }
    const ConversionError error = scene.failure(scene.plan({"srt", "vtt"}), input, {}, DestinationFolder{folder / ""});
    ASSERT_EQ(::seteuid(user), 0);
    EXPECT_EQ(error, ConversionError::destinationUnavailable("NIVEX n'a pas le droit d'écrire dans « Vidéos »"));
}

TEST(ConversionRunner, TrustsNoOutput)
{
    ConversionScene scene;
    const fs::path input = scene.input();
    const testing::TemporaryFolder elsewhere;
    const fs::path foreign = elsewhere.write("foreign.vtt", "keep");
    const std::string outside = "fichier produit hors de l'espace de travail";
    struct Case {
        const char* fault;
        std::function<Files(const EngineRequest&)> work;
        ConversionError expected;
    };
    const auto linkTo = [](const EngineRequest& request, const fs::path& target) {
        fs::create_symlink(target, request.workingDirectory / "link.vtt");
        return Files{request.workingDirectory / "link.vtt"};
    };
    using Request = const EngineRequest&;
    const auto unverified = ConversionError::outputVerificationFailed;
    const Case cases[] = {
        {"nothing", [](Request) { return Files{}; }, ConversionError::encodingFailed("aucun fichier produit")},
        {"the input itself", [](Request request) { return Files{request.input}; }, unverified(outside)},
        {"the input by a second hard link",
         [](Request request) {
             fs::create_hard_link(request.input, request.workingDirectory / "copy.vtt");
             return Files{request.workingDirectory / "copy.vtt"};
         },
         unverified(outside)},
        {"somebody else's file", [&](Request) { return Files{foreign}; }, unverified(outside)},
        {"a way out of the workspace",
         [](Request request) { return Files{request.workingDirectory / ".." / ".." / "film.srt"}; },
         unverified(outside)},
        {"a link out of the workspace", [&](Request request) { return linkTo(request, foreign); }, unverified(outside)},
        {"the workspace itself", [](Request request) { return Files{request.workingDirectory / ".."}; },
         unverified(outside)},
        {"a link inside", [&](Request request) { return linkTo(request, written(request, "made.vtt")); },
         unverified("ce n'est ni un fichier ni un dossier")},
        {"a link in a folder",
         [&](Request request) {
             fs::create_directory(request.workingDirectory / "tree");
             fs::create_symlink(foreign, request.workingDirectory / "tree" / "link");
             return Files{request.workingDirectory / "tree"};
         },
         unverified("ce n'est ni un fichier ni un dossier")},
        {"a pipe",
         [](Request request) {
             ::mkfifo((request.workingDirectory / "pipe").c_str(), 0600);
             return Files{request.workingDirectory / "pipe"};
         },
         unverified("ce n'est ni un fichier ni un dossier")},
        {"a file that is not there", [](Request request) { return Files{request.outputLocation()}; },
         unverified("fichier produit introuvable")},
        {"a good and a bad one",
         [&](Request request) {
             return Files{written(request, "good.vtt"), foreign};
         },
         unverified(outside)},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        scene.engine->work = [&](Request request, const ProgressCallback&, const CancellationFlag&) {
            return each.work(request);
        };
        EXPECT_EQ(scene.failure(scene.plan({"srt", "vtt"}), input), each.expected);
        EXPECT_EQ(namesIn(scene.folder.path()), std::vector<std::string>{"film.srt"});
        EXPECT_EQ(testing::contentsOf(input), "source");
        EXPECT_EQ(testing::contentsOf(foreign), "keep");
    }
}

TEST(ConversionRunner, WhatAnEngineThrowsIsPassedOnAndNothingStays)
{
    ConversionScene scene;
    const fs::path input = scene.input();
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) -> Files {
        written(request, "half.vtt");
        throw ConversionError::unreadableSource("illisible");
    };
    EXPECT_EQ(scene.failure(scene.plan({"srt", "vtt"}), input), ConversionError::unreadableSource("illisible"));
    scene.engine->work = [](const EngineRequest&, const ProgressCallback&, const CancellationFlag&) -> Files {
        throw std::logic_error{"other"};
    };
    EXPECT_THROW(scene.run(scene.plan({"srt", "vtt"}), input), std::logic_error);
    EXPECT_EQ(namesIn(scene.folder.path()), std::vector<std::string>{"film.srt"});
}

TEST(ConversionRunner, SaysSoWhenTheFolderVanishesDuringTheRun)
{
    ConversionScene scene;
    const fs::path folder = scene.folder / "stick";
    fs::create_directory(folder);
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        const Files files = {written(request, "film.vtt")};
        fs::remove_all(folder);
        return files;
    };
    EXPECT_EQ(scene.failure(scene.plan({"srt", "vtt"}), scene.input(), {}, DestinationFolder{folder}),
              ConversionError::destinationUnavailable("le dossier n'existe plus"));
}

TEST(ConversionRunner, SucceedsOnlyWithPathsThatAreThere)
{
    ConversionScene scene;
    const fs::path folder = scene.folder / "holidays";
    fs::create_directory(folder);
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        const Files files = {written(request, "film.vtt")};
        fs::rename(folder, scene.folder / "renamed");
        fs::create_directory(folder); // another one of the same name
        return files;
    };
    EXPECT_EQ(scene.failure(scene.plan({"srt", "vtt"}), scene.input(), {}, DestinationFolder{folder}),
              ConversionError::destinationUnavailable("le dossier n'existe plus"));
    EXPECT_TRUE(namesIn(scene.folder / "renamed").empty() && namesIn(folder).empty());
}

TEST(ConversionRunner, IsNotLedAstrayByASwappedWorkspace)
{
    ConversionScene scene;
    const testing::TemporaryFolder precious;
    precious.write("step-0/film.vtt", "keep");
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        const Files files = {written(request, "film.vtt")};
        const fs::path workspace = request.workingDirectory.parent_path();
        fs::rename(workspace, scene.folder / "stolen");
        fs::create_directory_symlink(precious.path(), workspace);
        return files;
    };
    const ConversionOutcome outcome = scene.run(scene.plan({"srt", "vtt"}), scene.input());
    EXPECT_EQ(testing::contentsOf(outcome.outputs.at(0)), "made");
    EXPECT_EQ(testing::contentsOf(precious / "step-0" / "film.vtt"), "keep");
    EXPECT_TRUE(namesIn(scene.folder / "stolen").empty());
}

TEST(ConversionRunner, AbandonsAnEngineThatIsTooLateOrCancelled)
{
    ConversionScene scene;
    const fs::path input = scene.input();
    std::atomic<bool> release = false;
    std::atomic<int> reports = 0;
    std::stop_source caller;
    scene.engine->timeLimit = std::chrono::seconds{0};
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback& progress,
                             const CancellationFlag& cancellation) {
        while (!release || !cancellation.isSet())
            std::this_thread::yield();
        progress(1.0); // to nobody: the run has ended
        return Files{written(request, "late.vtt")};
    };
    const auto count = [&](std::optional<double>) { ++reports; };
    const ConversionPlan plan = scene.plan({"srt", "vtt"});

    EXPECT_EQ(scene.failure(plan, input, {}, SameFolderAsSource{}, count), ConversionError::timedOut());
    EXPECT_EQ(namesIn(scene.folder.path()), std::vector<std::string>{"film.srt"});
    scene.engine->timeLimit = std::chrono::hours{1};
    caller.request_stop();
    EXPECT_EQ(scene.failure(plan, input, {}, SameFolderAsSource{}, count, caller.get_token()),
              ConversionError::cancelled());

    release = true;
    ASSERT_TRUE(operationsHaveEnded(std::chrono::seconds{60}));
    EXPECT_EQ(reports, 0);
    EXPECT_EQ(namesIn(scene.folder.path()), std::vector<std::string>{"film.srt"}) << "the late work left something";
}

struct Halving : BudgetShrinker {
    Files shrinkToBudget(const Files& files, const EngineRequest& request, const CancellationFlag&) const override
    {
        EXPECT_EQ(request.workingDirectory.filename(), "final-image-budget");
        return {written(request, files.front().filename(), std::string(500, 'x'))};
    }
};

TEST(ConversionRunner, KeepsToTheTargetSize)
{
    ConversionScene scene;
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        return Files{written(request, "picture.jpg", std::string(1000, 'x'))};
    };
    const ConversionPlan plan = scene.plan({"png", "jpeg"});
    ConversionOptions options;
    for (const auto& [maximum, size] : {std::pair{1000, 1000}, {999, 500}, {500, 500}}) {
        options.maxFileBytes = maximum;
        EXPECT_EQ(scene.run(plan, scene.input(), options, {}, std::make_shared<Halving>()).totalBytes, size);
    }
    options.maxFileBytes = 499;
    const auto tooLarge = ConversionError::encodingFailed(
        "poids cible impossible avec ces réglages ; réduisez les dimensions ou augmentez la limite");
    EXPECT_THROW(scene.run(plan, scene.input(), options, {}, std::make_shared<Halving>()), ConversionError);
    options.maxFileBytes = 999;
    EXPECT_EQ(scene.failure(plan, scene.input(), options), tooLarge) << "without a shrinker it is only measured";
}

} // namespace
} // namespace nivex
