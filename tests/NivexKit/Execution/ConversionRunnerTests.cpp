#include "NivexKit/Execution/ConversionRunner.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Running/WithTimeout.hpp"
#include "tests/Support/ConversionScene.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
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

TEST(ConversionRunner, CollectsTheWarningsOfAllSteps)
{
    ConversionScene scene;
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        request.warn("Toujours.");
        request.warn("Vers " + request.targetFormat.id.rawValue + ".");
        return Files{written(request, request.baseName + "." + request.targetFormat.id.rawValue)};
    };
    EXPECT_EQ(scene.run(scene.plan({"srt", "vtt", "txt"}), scene.input()).warnings,
              (std::vector<std::string>{"Toujours.", "Vers vtt.", "Vers txt."}));
}

TEST(ConversionRunner, HandsEachStepWhatThePreviousOneMade)
{
    ConversionScene scene;
    std::vector<std::string> steps;
    std::vector<std::optional<bool>> layers;
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback& progress, const CancellationFlag&) {
        progress(0.5);
        progress(std::nullopt);
        progress(std::nan(""));
        progress(2);
        steps.push_back(request.workingDirectory.filename().string() + " " + request.input.filename().string() + " " +
                        request.sourceFormat.id.rawValue + " " + request.targetFormat.id.rawValue);
        layers.push_back(request.properties.hasLayers);
        return Files{written(request, request.baseName + "." + request.targetFormat.id.rawValue)};
    };
    std::vector<std::optional<double>> fractions;
    std::vector<std::string> phases;
    const auto note = [&](const RunProgress& progress) {
        if (phases.empty() || phases.back() != progress.phase)
            phases.push_back(progress.phase); // told without a new fraction
        else
            fractions.push_back(progress.fraction);
    };

    ConversionTask task{.plan = scene.plan({"srt", "vtt", "srt", "vtt", "txt"}), .input = scene.input()};
    task.properties.hasLayers = true;
    scene.runner().run(task, note, {});

    EXPECT_EQ(steps, (std::vector<std::string>{"step-0 film.srt srt vtt", "step-1 film.vtt vtt srt",
                                               "step-2 film.srt srt vtt", "step-3 film.vtt vtt txt"}));
    const std::optional<double> none;
    EXPECT_EQ(fractions, (std::vector<std::optional<double>>{0.125, none, none, 0.25, 0.375, none, none, 0.5, 0.625,
                                                             none, none, 0.75, 0.875, none, none, 1}));
    EXPECT_EQ(phases, (std::vector<std::string>{
                          "Conversion en VTT (étape 1 sur 4)", "Conversion en SRT (étape 2 sur 4)",
                          "Conversion en VTT (étape 3 sur 4)", "Conversion en TXT (étape 4 sur 4)", "Mise en place"}));
    EXPECT_EQ(layers, (std::vector<std::optional<bool>>{true, false, false, false}))
        << "what was measured does not travel, or not as the steps change it";
    EXPECT_TRUE(fs::exists(scene.folder / "film.txt"));
}

TEST(ConversionRunner, HandsOnAllTheFilesOfAStepAndPlacesFolders)
{
    ConversionScene scene;
    scene.engine->outputs = {.maxFiles = 2, .mayBeFolder = true};
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        if (request.targetFormat.id == "vtt")
            return Files{written(request, "film-1.vtt"), written(request, "film-2.vtt")};
        const fs::path folder = request.workingDirectory / (request.baseName + ".txt");
        fs::create_directories(folder / "inside");
        std::ofstream{folder / "inside" / "leaf"} << "1234";
        return Files{folder};
    };
    const ConversionOutcome outcome = scene.run(scene.plan({"srt", "vtt", "txt"}), scene.input());
    EXPECT_EQ(outcome, (ConversionOutcome{.outputs = {scene.folder / "film-1.txt", scene.folder / "film-2.txt"},
                                          .totalBytes = 8}));
}

/// Names written by an engine for a target, and those under which they are found beside what was there before.
struct NamingCase {
    const char* fault;
    FormatID target;
    std::vector<std::string> before;
    std::vector<std::string> written;
    std::vector<std::string> placed;
};

std::vector<std::string> numberedNames(const std::string& before, int count, const std::string& behind)
{
    std::vector<std::string> names;
    for (int number = 1; number <= count; ++number)
        names.push_back(before + std::to_string(number) + behind);
    return names;
}

TEST(ConversionRunner, NamesWhatComesOut)
{
    const NamingCase cases[] = {
        {"an engine chose another name", "vtt", {}, {"evil.desktop"}, {"film.vtt"}},
        {"an extension of the format is not kept", "vtt", {}, {"film.VTT"}, {"film.VTT"}},
        {"two share a name",
         "vtt",
         {},
         {"film-a.vtt", "FILM-A.vtt", "film-A.vtt"},
         {"film-a.vtt", "film.vtt", "film-A 2.vtt"}},
        {"a set is numbered one by one",
         "vtt",
         {"film-2.vtt"},
         {"film-1.vtt", "film-2.vtt"},
         {"film 2-1.vtt", "film 2-2.vtt"}},
        {"files that refer to each other are renamed",
         "obj",
         {"film.mtl"},
         {"film.obj", "film.mtl"},
         {"film/film.obj", "film/film.mtl"}},
        {"their folder replaces another",
         "obj",
         {"film.obj", "film/x"},
         {"film.obj", "film.mtl"},
         {"film 2/film.obj", "film 2/film.mtl"}},
        {"they are put in a folder without need", "obj", {}, {"film.obj", "film.mtl"}, {"film.obj", "film.mtl"}},
        {"a set is thought too large",
         "vtt",
         {},
         numberedNames("film-", 16, ".vtt"),
         numberedNames("film-", 16, ".vtt")},
        {"a large set stands loose",
         "vtt",
         {},
         numberedNames("film-", 17, ".vtt"),
         numberedNames("film/film-", 17, ".vtt")},
    };
    for (const NamingCase& each : cases) {
        SCOPED_TRACE(each.fault);
        ConversionScene scene;
        for (const std::string& name : each.before)
            scene.folder.write(name, "somebody's");
        scene.engine->outputs = {.maxFiles = 17, .companionExtensions = {"mtl"}, .maxCompanions = 1};
        scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
            Files files;
            for (const std::string& name : each.written)
                files.push_back(written(request, name, "v 1 2 3"));
            return files;
        };
        Files expected;
        for (const std::string& name : each.placed)
            expected.push_back(scene.folder / name);
        EXPECT_EQ(scene.run(scene.plan({"srt", each.target}), scene.input()).outputs, expected);
        for (const fs::path& file : expected)
            EXPECT_EQ(testing::contentsOf(file), "v 1 2 3");
        for (const std::string& name : each.before)
            EXPECT_EQ(testing::contentsOf(scene.folder / name), "somebody's");
    }
}

TEST(ConversionRunner, TakesOnlyWhatTheTargetIs)
{
    const std::string program = "son contenu est celui d'un programme";
    const std::string elf = std::string{"\x7F"
                                        "ELF\x02\x01\x01",
                                        7} +
                            std::string(60, '\0');
    const std::string png = "\x89PNG\r\n\x1A\n" + std::string(30, 'x');
    struct Case {
        const char* fault;
        FormatID target;
        std::string content;
        std::string detail; // empty where it is taken
    };
    const Case cases[] = {
        {"a script for a picture", "webp", "#!/bin/sh\nrm -rf ~\n", program},
        {"a script for a text", "txt", "#!/bin/sh\n", program},
        {"a launcher for a text", "txt", "# a comment\n\n[Desktop Entry]\nExec=rm\n", program},
        {"a program for a text", "srt", elf, program},
        {"a program for a format that shows nothing", "obj", elf, program},
        {"a text for a picture", "webp", "hello", "son contenu n'est pas celui d'un fichier WebP"},
        {"another picture", "webp", png, "son contenu n'est pas celui d'un fichier WebP"},
        {"a picture for a text", "txt", png, "son contenu n'est pas celui d'un fichier TXT"},
        {"the picture itself", "png", png, {}},
        {"a text that speaks of programs", "txt", "The first line is #!/bin/sh.", {}},
        {"a text that looks like a page", "txt", "<!DOCTYPE html><html>", {}},
        {"a format that content cannot tell", "obj", "v 1 2 3", {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        ConversionScene scene;
        scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
            return Files{written(request, "film." + request.targetFormat.preferredExtension(), each.content)};
        };
        const ConversionError error = scene.failure(scene.plan({"srt", each.target}), scene.input());
        EXPECT_EQ(error, each.detail.empty() ? ConversionError::unsupported("no error at all")
                                             : ConversionError::outputVerificationFailed(each.detail));
    }
}

TEST(ConversionRunner, BoundsWhatAnEngineHandsBack)
{
    const std::string tooMany = "plus de fichiers que cette source n'en peut donner";
    const std::string tooLarge = "le dossier produit est trop grand ou trop profond";
    const auto files = [](const EngineRequest& request, int count) {
        Files made;
        for (const std::string& name : numberedNames("film-", count, ".vtt"))
            made.push_back(written(request, name));
        return made;
    };
    const auto folder = [](const EngineRequest& request, int depth, const char* leaf) {
        fs::path deepest = request.workingDirectory / "film";
        for (int level = 1; level < depth; ++level)
            deepest /= "d";
        fs::create_directories(deepest);
        std::ofstream{deepest / leaf} << "x";
        return Files{request.workingDirectory / "film"};
    };
    struct Case {
        const char* fault;
        ExpectedOutputs expected;
        std::function<Files(const EngineRequest&)> work;
        std::string detail; // empty where it is taken
    };
    const SourceProperties threePages{.pageCount = 3};
    const Case cases[] = {
        {"a second file", {}, [&](auto& request) { return files(request, 2); }, tooMany},
        {"as many as pages",
         ExpectedOutputs::onePerPage(threePages, 9),
         [&](auto& request) { return files(request, 3); },
         {}},
        {"more than pages", ExpectedOutputs::onePerPage(threePages, 9),
         [&](auto& request) { return files(request, 4); }, tooMany},
        {"pages nobody counted",
         ExpectedOutputs::onePerPage({}, 9),
         [&](auto& request) { return files(request, 9); },
         {}},
        {"too many that nobody counted", ExpectedOutputs::onePerPage({}, 9),
         [&](auto& request) { return files(request, 10); }, tooMany},
        {"a folder that nobody expects",
         {},
         [&](auto& request) { return folder(request, 1, "x"); },
         "un dossier à la place d'un fichier"},
        {"a deep folder", {.mayBeFolder = true}, [&](auto& request) { return folder(request, 16, "x"); }, {}},
        {"a folder too deep", {.mayBeFolder = true}, [&](auto& request) { return folder(request, 17, "x"); }, tooLarge},
        {"a launcher in a folder",
         {.mayBeFolder = true},
         [&](auto& request) { return folder(request, 2, "x.desktop"); },
         "le dossier produit contient un programme"},
        {"a file named twice",
         {.maxFiles = 2},
         [&](auto& request) {
             return Files{written(request, "film.vtt"), request.workingDirectory / "." / "film.vtt"};
         },
         "le même fichier produit est annoncé deux fois"},
        {"the lock of the workspace",
         {},
         [&](auto& request) { return Files{request.workingDirectory / ".." / "lock"}; },
         "« lock » appartient à l'espace de travail"},
        {"the folder of a step",
         {.mayBeFolder = true},
         [&](auto& request) { return Files{request.workingDirectory}; },
         "« step-0 » appartient à l'espace de travail"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        ConversionScene scene;
        scene.engine->outputs = each.expected;
        scene.engine->work = [&](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
            return each.work(request);
        };
        const ConversionError error = scene.failure(scene.plan({"srt", "vtt"}), scene.input());
        EXPECT_EQ(error, each.detail.empty() ? ConversionError::unsupported("no error at all")
                                             : ConversionError::outputVerificationFailed(each.detail));
    }
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
         unverified("« . » appartient à l'espace de travail")},
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
    scene.engine->outputs = {.maxFiles = 2, .mayBeFolder = true};
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
    const auto count = [&](const RunProgress& progress) { reports += progress.fraction.has_value(); };
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

std::string jpegOf(std::size_t bytes) { return "\xFF\xD8\xFF" + std::string(bytes - 3, 'x'); }

/// An engine that halves files of a format within it.
std::shared_ptr<testing::FakeEngine> halving(const FormatID& format)
{
    auto engine =
        testing::fakeEngine("halving", {testing::edge(format, format, {}, {ConversionOptionKind::targetSize})});
    engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        EXPECT_EQ(request.workingDirectory.parent_path().filename(), "final-image-budget");
        EXPECT_EQ(request.options.maxPixelDimension, std::nullopt) << "what was done already is asked for again";
        return Files{written(request, "smaller.jpg", jpegOf(fs::file_size(request.input) / 2))};
    };
    return engine;
}

TEST(ConversionRunner, KeepsToTheTargetSize)
{
    ConversionScene scene;
    scene.engine->outputs.maxFiles = 2;
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        return Files{written(request, "film-1.jpg", jpegOf(1000)), written(request, "film-2.jpg", jpegOf(400))};
    };
    const ConversionPlan plan = scene.plan({"png", "jpeg"});
    ConversionOptions options{.maxPixelDimension = 100};
    const auto run = [&](std::int64_t maximum) {
        options.maxFileBytes = maximum;
        return scene.run(plan, scene.input(), options).totalBytes;
    };
    EXPECT_EQ(run(1000), 1400);
    EXPECT_THROW(run(999), ConversionError) << "without an optimizer of the format it is only measured";
    scene.others = {halving("heic")};
    EXPECT_THROW(run(999), ConversionError) << "taken from another format";
    scene.others = {halving("jpeg")};
    EXPECT_EQ(run(999), 900) << "only what is too large is made smaller";
    EXPECT_EQ(run(500), 900);
    EXPECT_EQ(namesIn(scene.folder.path()).back(), "film.srt");
    EXPECT_TRUE(fs::exists(scene.folder / "film 2-1.jpg")) << "a smaller file keeps its name";
    options.maxFileBytes = 499;
    EXPECT_EQ(scene.failure(plan, scene.input(), options),
              ConversionError::encodingFailed("poids cible impossible avec ces réglages ; réduisez les dimensions ou "
                                              "augmentez la limite"));
}

TEST(ConversionRunner, GivesShrinkingTheTimeOfItsOwnEngine)
{
    ConversionScene scene;
    scene.engine->work = [](const EngineRequest& request, const ProgressCallback&, const CancellationFlag&) {
        return Files{written(request, "film.jpg", jpegOf(1000))};
    };
    scene.others = {halving("jpeg")};
    scene.others.front()->timeLimit = std::chrono::seconds{0};
    scene.others.front()->work = [](const EngineRequest&, const ProgressCallback&,
                                    const CancellationFlag& cancellation) {
        while (!cancellation.isSet())
            std::this_thread::yield();
        return Files{};
    };
    EXPECT_EQ(scene.failure(scene.plan({"png", "jpeg"}), scene.input(), {.maxFileBytes = 500}),
              ConversionError::timedOut());
    EXPECT_TRUE(operationsHaveEnded(std::chrono::seconds{60}));
}

TEST(ConversionRunner, JoinsTheResultsOfSeveralSources)
{
    ConversionScene scene;
    std::vector<std::string> calls;
    scene.engine->outputs.maxFiles = 2;
    scene.engine->work = [&](const EngineRequest& request, const ProgressCallback& progress, const CancellationFlag&) {
        progress(1);
        std::string call = request.input.filename().string();
        for (const FurtherInput& each : request.furtherInputs)
            call += " " + each.location.filename().string() + ":" + each.format.rawValue + ":" +
                    std::to_string(each.properties.pageCount.value_or(0));
        calls.push_back(call + " > " + request.baseName + (request.options.maxFileBytes ? " sized" : ""));
        if (request.sourceFormat.id == "vtt" && request.targetFormat.id == "txt") // a route of several results
            return Files{written(request, request.baseName + "-1.txt"), written(request, request.baseName + "-2.txt")};
        return Files{written(request, request.baseName + "." + request.targetFormat.id.rawValue)};
    };
    const auto source = [&](const std::string& name, std::int64_t pages) {
        DetectionResult result;
        result.url = scene.folder.write(name, "x");
        result.properties.pageCount = pages;
        return result;
    };
    ConversionTask task{.plan = scene.plan({"srt", "txt", "txt"}), .input = scene.input()};
    task.plan.joins = true;
    task.others = {{source("b.txt", 7), {}}, {source("c.vtt", 1), {{"fake", "vtt", "txt"}}}};
    std::vector<RunProgress> told;
    const auto note = [&](const RunProgress& progress) { told.push_back(progress); };

    EXPECT_EQ(scene.runner().run(task, note, {}).outputs, Files{scene.folder / "Document combiné.txt"});
    EXPECT_EQ(calls, (std::vector<std::string>{
                         "film.srt > Document combiné", "c.vtt > c",
                         "Document combiné.txt b.txt:txt:7 c-1.txt:txt:1 c-2.txt:txt:1 > Document combiné"}));
    EXPECT_EQ(told, (std::vector<RunProgress>{{{}, "Préparation du fichier 1 sur 3"},
                                              {0.25, "Préparation du fichier 1 sur 3"},
                                              {0.25, "Préparation du fichier 3 sur 3"},
                                              {0.75, "Préparation du fichier 3 sur 3"},
                                              {0.75, "Assemblage"},
                                              {1, "Assemblage"},
                                              {1, "Mise en place"}}));

    task.placement.fileName = "Tout.txt";
    EXPECT_EQ(scene.runner().run(task, {}, {}).outputs, Files{scene.folder / "Tout.txt"});
    fs::remove(scene.folder / "c.vtt");
    EXPECT_THROW(scene.runner().run(task, {}, {}), ConversionError) << "one of the sources is gone";
    EXPECT_EQ(testing::contentsOf(scene.folder / "b.txt"), "x");
}

} // namespace
} // namespace nivex
