#include "NIVEX/Model/ConversionCenter.hpp"

#include "tests/Support/ConversionScene.hpp"
#include "tests/Support/FakeEngine.hpp"
#include "tests/Support/ManualMainLoop.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using nivex::testing::edge;
using nivex::testing::fakeEngine;
using nivex::testing::ManualMainLoop;
using nivex::testing::namesIn;
using nivex::testing::TemporaryFolder;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr const char* subRip = "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n";
constexpr const char* webVtt = "WEBVTT\n\n00:01.000 --> 00:02.000\nBonjour\n";

/// A centre on engines that a test knows, and the queue behind it.
struct Desk {
    EngineList engines{
        fakeEngine("fake", {edge("srt", "vtt"), edge("srt", "txt", ConversionLoss::timing), edge("vtt", "srt"),
                            edge("vtt", "txt", ConversionLoss::timing | ConversionLoss::formatting),
                            edge("json", "yaml", {}, {ConversionOptionKind::quality})})};
    TemporaryFolder folder;
    ManualMainLoop loop;
    FileDetector detector;
    ConversionPlanner planner{engines, FormatRegistry::standard()};
    ConversionQueue queue{ConversionRunner{engines, FormatRegistry::standard(), ResourceLimits::standard()}, loop};
    ConversionCenter center{detector, planner, queue, loop};

    void addAndLook(std::vector<fs::path> paths)
    {
        center.add(std::move(paths));
        settle();
    }
    /// Until files are looked at and the choice is judged.
    void settle()
    {
        loop.runUntil([this] { return !center.isLooking() && (!center.chosen() || center.judgement()); });
        loop.runPosted();
    }
    void finishJobs()
    {
        loop.runUntil([this] { return !std::ranges::empty(queue.jobs()) && !queue.isBusy(); });
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const SharedDetection& file : center.files())
            names.push_back(file->fileName());
        return names;
    }
    std::vector<std::string> targets() const
    {
        std::vector<std::string> names;
        for (const TargetOffer& offer : center.offers())
            names.push_back(offer.target.id.rawValue);
        return names;
    }
};

TEST(ConversionCenter, OffersWhatAllUsableFilesShareWithTheLossesOfAny)
{
    Desk desk;
    const fs::path srt = desk.folder.write("a.srt", subRip);
    const fs::path broken = desk.folder.write("b.png", "no picture");
    const fs::path vtt = desk.folder.write("c.vtt", webVtt);
    desk.addAndLook({srt});
    EXPECT_THAT(desk.targets(), UnorderedElementsAre("vtt", "txt"));
    EXPECT_EQ(desk.center.offer({OfferPurpose::convert, "txt"})->losses, ConversionLoss::timing);

    desk.addAndLook({broken, srt, vtt});
    EXPECT_THAT(desk.files(), ElementsAre("a.srt", "b.png", "c.vtt")) << "in the order given, each once";
    EXPECT_EQ(desk.center.usableFiles(), 2U);
    EXPECT_THAT(desk.targets(), ElementsAre("txt")) << "a file that cannot be used does not stand in the others' way";
    EXPECT_EQ(desk.center.offers().front().losses, ConversionLoss::timing | ConversionLoss::formatting);
    EXPECT_THAT(desk.center.whyNoOffer(), IsEmpty());

    desk.addAndLook({desk.folder.write("d.json", "{\"a\": 1}")});
    EXPECT_THAT(desk.targets(), IsEmpty());
    EXPECT_EQ(desk.center.whyNoOffer(),
              "Ces fichiers n'ont aucun format de sortie en commun. Convertissez-les séparément.");

    desk.center.remove({3, 2});
    desk.settle();
    EXPECT_THAT(desk.targets(), UnorderedElementsAre("vtt", "txt")) << "what is left is planned for again";
    desk.center.remove({0});
    desk.settle();
    EXPECT_EQ(desk.center.whyNoOffer(), "Ce fichier ne peut pas être converti.");
    desk.center.clear();
    EXPECT_THAT(desk.files(), IsEmpty());
    EXPECT_THAT(desk.center.whyNoOffer(), IsEmpty());
    desk.addAndLook({srt});
    EXPECT_THAT(desk.files(), ElementsAre("a.srt")) << "a file taken out may come again";
}

TEST(ConversionCenter, WalksFoldersAndSaysWhatItCouldNotRead)
{
    Desk desk;
    desk.folder.write("tree/one.srt", subRip);
    desk.folder.write("tree/below/two.srt", subRip);
    desk.folder.write("tree/.hidden.srt", subRip);
    fs::create_symlink("nowhere", desk.folder / "tree/lost.srt");
    desk.addAndLook({desk.folder / "tree", desk.folder / "gone.srt"});
    EXPECT_THAT(desk.files(), ElementsAre("two.srt", "one.srt", "gone.srt"));
    EXPECT_THAT(desk.center.problems(), SizeIs(1));
    EXPECT_EQ(desk.center.files().back()->isUsable(), false) << "a file that has vanished stays in sight";
}

TEST(ConversionCenter, ShowsTheFirstFileBeforeTheOthersAndForgetsADropThatIsCleared)
{
    Desk desk;
    std::vector<fs::path> many;
    for (int i = 0; i < 40; ++i)
        many.push_back(desk.folder.write(std::to_string(i) + ".srt", subRip));
    desk.center.add(many);
    EXPECT_TRUE(desk.center.isLooking());
    desk.loop.runUntil([&] { return !desk.center.files().empty(); });
    EXPECT_THAT(desk.files(), ElementsAre("0.srt"));
    EXPECT_THAT(desk.center.offers(), SizeIs(2));
    EXPECT_EQ(desk.center.remaining(), 39U);
    desk.center.clear();
    desk.addAndLook({desk.folder.write("other.vtt", webVtt)});
    EXPECT_THAT(desk.files(), ElementsAre("other.vtt"));
}

TEST(ConversionCenter, JudgesAChoiceBeforeAnythingRuns)
{
    Desk desk;
    desk.addAndLook({desk.folder.write("a.srt", subRip), desk.folder.write("b.srt", subRip)});
    desk.center.choose(OfferID{OfferPurpose::convert, "txt"});
    desk.settle();
    ASSERT_TRUE(desk.center.judgement());
    EXPECT_EQ(desk.center.judgement()->files, 2U);
    EXPECT_THAT(desk.center.judgement()->warnings,
                ElementsAre(Remark{"Les minutages seront supprimés : seul le texte est conservé.", 2}));
    EXPECT_THAT(desk.center.judgement()->destination, IsEmpty());

    desk.center.setDestination(DestinationFolder{desk.folder / "missing"});
    desk.settle();
    EXPECT_EQ(desk.center.judgement()->destination,
              "Le dossier de destination n'est pas disponible : le dossier n'existe plus");
    OptionOverrides settings;
    settings.set(&ConversionOptions::quality, 0.5);
    desk.center.setSettings(settings);
    desk.settle();
    EXPECT_THAT(desk.center.judgement()->warnings, SizeIs(2)) << "a setting without effect is told of";
    desk.center.choose(std::nullopt);
    EXPECT_FALSE(desk.center.judgement());
}

TEST(ConversionCenter, QueuesWhatWasChosenEvenWhileFilesAreLookedAt)
{
    Desk desk;
    std::optional<Uuid> batch;
    desk.center.onQueued = [&](std::optional<Uuid> id, const std::vector<Remark>& refusals) {
        batch = id;
        EXPECT_THAT(refusals, IsEmpty());
    };
    desk.center.convert();
    desk.loop.runPosted();
    EXPECT_FALSE(batch) << "nothing is chosen";

    desk.center.add({desk.folder.write("a.srt", subRip), desk.folder.write("b.png", "no picture")});
    desk.center.choose(OfferID{OfferPurpose::convert, "vtt"});
    desk.center.convert();
    desk.loop.runUntil([&] { return batch.has_value(); });
    desk.finishJobs();
    EXPECT_THAT(desk.queue.jobsInBatch(*batch), SizeIs(1)) << "the broken file is left aside";
    EXPECT_THAT(namesIn(desk.folder.path()), Contains("a.vtt"));
}

TEST(ConversionCenter, RunsARecipeOnTheFilesThatItAccepts)
{
    Desk desk;
    const std::string none = "Aucun fichier ne correspond aux conditions du raccourci.";
    desk.addAndLook({desk.folder.write("Film.srt", subRip), desk.folder.write("other.srt", subRip)});
    const auto recipe = [](std::vector<RecipeStep> steps) { return ConversionRecipe::make("Texte", std::move(steps)); };
    EXPECT_EQ(desk.center.run(recipe({step::Convert{"txt"}, step::NameContains{"zzz"}}), {}), none);
    EXPECT_EQ(desk.center.run(recipe({step::NameContains{"film"}}), {}), "Ajoutez un bloc de conversion.");
    EXPECT_EQ(desk.center.run(recipe({step::Convert{"txt"}, step::NameContains{"film"}}), {}),
              "1 fichier(s) écarté(s) par les conditions. Les originaux sont conservés.");
    desk.finishJobs();
    EXPECT_THAT(namesIn(desk.folder.path()), ElementsAre("Film.srt", "Film.txt", "other.srt"));
}

} // namespace
} // namespace nivex
