#include "NivexKit/Engines/Subtitle/SubtitleEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>

namespace nivex {
namespace {

using nivex::testing::contentsOf;
using nivex::testing::TemporaryFolder;

class SubtitleEngineTest : public ::testing::Test {
protected:
    EngineRequest request(std::string_view contents, const char* source, const char* target) const
    {
        return {.input = folder.write("film.bin", contents), // the format counts, not the name
                .sourceFormat = format(source),
                .targetFormat = format(target),
                .options = {},
                .workingDirectory = folder.path(),
                .baseName = "sortie",
                .limits = {}};
    }

    static const FileFormat& format(const char* id) { return *FormatRegistry::standard().format(id); }

    std::vector<std::filesystem::path> convert(const EngineRequest& request) const
    {
        return engine.convert(
            request, [](std::optional<double>) {}, CancellationFlag{});
    }

    /// The error that a conversion ends in.
    ConversionError failure(const EngineRequest& request) const
    {
        try {
            convert(request);
        } catch (const ConversionError& error) {
            return error;
        }
        throw std::runtime_error{"the conversion succeeded"};
    }

    TemporaryFolder folder;
    SubtitleEngine engine{FormatRegistry::standard()};
};

constexpr const char* oneCue = "1\n00:00:01,000 --> 00:00:02,000\nUn <b>&</b> deux\n";

TEST_F(SubtitleEngineTest, DeclaresEveryPairThatTheRegistryKnows)
{
    EXPECT_EQ(engine.capabilities().size(), 12u);
    const FormatRegistry narrow{{format("srt"), format("txt")}};
    EXPECT_EQ(SubtitleEngine{narrow}.capabilities().size(), 2u);
}

TEST_F(SubtitleEngineTest, AnnouncesWhatIsLost)
{
    const auto losses = [&](const char* source, const char* target) {
        return engine.expectedLosses(format(source), {}, format(target), {});
    };
    const ConversionLoss styles = ConversionLoss::formatting | ConversionLoss::layout;

    EXPECT_EQ(losses("srt", "vtt"), ConversionLoss{});
    EXPECT_EQ(losses("srt", "txt"), ConversionLoss::timing);
    EXPECT_EQ(losses("ass", "srt"), styles);
    EXPECT_EQ(losses("ssa", "txt"), styles | ConversionLoss::timing);
    for (const EngineCapability& edge : engine.capabilities()) {
        const auto expected = losses(edge.source.rawValue.c_str(), edge.target.rawValue.c_str());
        EXPECT_TRUE(edge.potentialLosses.contains(expected)) << edge.source.rawValue << " to " << edge.target.rawValue;
    }
}

TEST_F(SubtitleEngineTest, WritesOneFileOfTheTargetFormat)
{
    const auto vtt = convert(request(oneCue, "srt", "vtt"));
    ASSERT_EQ(vtt, std::vector{folder / "sortie.vtt"});
    EXPECT_EQ(contentsOf(vtt.front()), "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nUn <b>&amp;</b> deux\n");

    EXPECT_EQ(contentsOf(convert(request(oneCue, "srt", "txt")).front()), "Un & deux\n");
    const char* latin = "[Events]\nDialogue: 0,0:00:01.00,0:00:02.00,,,0,0,0,,O\xF9 est l'\xE9t\xE9 ?\n";
    EXPECT_EQ(contentsOf(convert(request(latin, "ass", "srt")).front()),
              "1\n00:00:01,000 --> 00:00:02,000\nOù est l'été ?\n");
}

TEST_F(SubtitleEngineTest, RefusesWhatHoldsNoSubtitle)
{
    const auto nothing = ConversionError::unreadableSource("aucun sous-titre trouvé");
    const std::string_view inputs[] = {"", "du texte", {"\x89PNG\0\0\0\1", 8}, "WEBVTT\n\n00:01 --> 00:02\nUn"};
    for (const std::string_view input : inputs)
        EXPECT_EQ(failure(request(input, "vtt", "srt")), nothing);
    EXPECT_FALSE(exists(folder / "sortie.srt"));
}

TEST_F(SubtitleEngineTest, EndsInTheErrorThatFits)
{
    using Kind = ConversionError::Kind;
    EngineRequest missing = request(oneCue, "srt", "vtt");
    missing.input = folder / "absent.srt";
    EXPECT_EQ(failure(missing).kind(), Kind::unreadableSource);

    EngineRequest large = request(oneCue, "srt", "vtt");
    large.limits.maxUnzippedEntryBytes = 10;
    EXPECT_EQ(failure(large).kind(), Kind::resourceLimit);

    EngineRequest homeless = request(oneCue, "srt", "vtt");
    homeless.workingDirectory = folder / "absent";
    EXPECT_EQ(failure(homeless).kind(), Kind::encodingFailed);

    EXPECT_EQ(failure(request(oneCue, "srt", "png")).kind(), Kind::unsupported);
}

TEST_F(SubtitleEngineTest, SaysInOneSentenceHowManyLinesAreMissing)
{
    const auto warnings = [&](std::string_view text) {
        EngineRequest told = request(text, "srt", "txt");
        told.warnings = std::make_shared<ConversionWarnings>();
        std::filesystem::remove(convert(told).at(0));
        return told.warnings->all();
    };
    using Sentences = std::vector<std::string>;
    const std::string cue = oneCue;
    EXPECT_EQ(warnings(cue), Sentences{});
    EXPECT_EQ(warnings(cue + "\nDeux\n"),
              Sentences{"Une ligne du fichier ne fait partie d'aucun sous-titre valide et n'a pas été reprise."});
    EXPECT_EQ(warnings(cue + "\nDeux\n\nTrois\n"),
              Sentences{"2 lignes du fichier ne font partie d'aucun sous-titre valide et n'ont pas été reprises."});
}

TEST_F(SubtitleEngineTest, RefusesAnOutputThatReadsOtherwise)
{
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += std::string{oneCue} + "\n";
    const EngineRequest whole = request(text, "srt", "vtt");
    const auto output = folder / "sortie.vtt";
    const struct {
        const char* name;
        std::function<void()> put; // in the place of the output, while it is written
        ConversionError error;
    } cases[] = {
        {"fewer cues", [&] { std::ofstream{output} << "WEBVTT\n\n00:01.000 --> 00:02.000\nUn\n"; },
         ConversionError::outputVerificationFailed("1 sous-titres relus au lieu de 20000")},
        {"nothing to be read", [&] { std::filesystem::create_directory(output); },
         ConversionError::outputVerificationFailed("le fichier écrit ne peut pas être relu")},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        bool isReplaced = false;
        const auto replace = [&](std::optional<double>) {
            if (isReplaced || !exists(output))
                return;
            isReplaced = true;
            std::filesystem::remove(output);
            each.put();
        };
        try {
            engine.convert(whole, replace, {});
            ADD_FAILURE() << "it was delivered";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error, each.error);
        }
        std::filesystem::remove_all(output);
    }
}

TEST_F(SubtitleEngineTest, DeliversWordsThatSubRipWouldTakeForATag)
{
    const auto shown = request("WEBVTT\n\n00:01.000 --> 00:02.000\n&lt;font&gt;\n", "vtt", "srt");
    EXPECT_EQ(contentsOf(convert(shown).at(0)), "1\n00:00:01,000 --> 00:00:02,000\n<\u200Bfont>\n");
}

TEST_F(SubtitleEngineTest, EndsInAnErrorWhenTheFileCannotBeWrittenWhole)
{
    const EngineRequest full = request(oneCue, "srt", "vtt");
    const auto convertOnFullDisk = [&] {
        const rlimit tenBytes{10, 10};
        std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &tenBytes);
        std::_Exit(failure(full).kind() == ConversionError::Kind::encodingFailed ? 0 : 1);
    };
    EXPECT_EXIT(convertOnFullDisk(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SubtitleEngineTest, StopsWhenCancelledInTheMiddle)
{
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += std::string{oneCue} + "\n";
    const EngineRequest long_ = request(text, "srt", "vtt");
    CancellationFlag flag;
    double last = 0;
    const auto progress = [&](std::optional<double> fraction) {
        EXPECT_GE(fraction.value_or(-1), last);
        last = fraction.value_or(last);
        if (last > 0.3)
            flag.set();
    };

    try {
        engine.convert(long_, progress, flag);
        ADD_FAILURE() << "ran to its end";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error, ConversionError::cancelled());
    }
    EXPECT_FALSE(exists(folder / "sortie.vtt"));
}

} // namespace
} // namespace nivex
