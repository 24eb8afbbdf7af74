#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Planning/ConversionVerdict.hpp"
#include "tests/Support/FakeEngine.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

FileFormat format(const char* id) { return *FormatRegistry::standard().format(FormatID{id}); }

ConversionPlan planTo(const char* target)
{
    return {.source = format("jpeg"),
            .target = format(target),
            .steps = {{"images", "jpeg", FormatID{target}}},
            .options = {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile, Kind::targetSize},
            .refused = {Kind::removeBackground}};
}

/// A planner whose one engine loses so much on every edge; nothing where nothing is named.
ConversionPlanner planner(testing::FakeEngine::Losses losses = {})
{
    const auto images = testing::fakeEngine("images", {});
    images->losses = std::move(losses);
    return {{images}, FormatRegistry::standard()};
}

OptionOverrides profile(ColorProfilePolicy policy)
{
    OptionOverrides overrides;
    overrides.set(&ConversionOptions::colorProfile, policy);
    return overrides;
}

TEST(ConversionVerdict, TheStrongestVoiceThatTheRouteTakesIsHeard)
{
    using enum ColorProfilePolicy;
    const std::string needsCmyk = "Le CMJN nécessite une sortie JPEG, TIFF, PSD ou PDF.";
    const DetectionResult file{.format = format("jpeg")};
    const struct {
        const char* name;
        AskedOptions asked;
        const char* target;
        ColorProfilePolicy used;
        std::vector<std::string> warnings;
    } cases[] = {
        {"typed over all", {{.colorProfile = sRGB}, profile(preserve), profile(displayP3)}, "png", displayP3, {}},
        {"recipe over preferences", {{.colorProfile = sRGB}, profile(preserve), {}}, "png", preserve, {}},
        {"typed in vain", {{.colorProfile = sRGB}, {}, profile(cmyk)}, "png", sRGB, {needsCmyk}},
        {"recipe in vain, told by itself", {{.colorProfile = sRGB}, profile(cmyk), {}}, "png", sRGB, {}},
        {"preference in vain", {{.colorProfile = cmyk}, {}, {}}, "png", preserve, {needsCmyk}},
        {"taken", {{}, {}, profile(cmyk)}, "tiff", cmyk, {}},
        {"preferences for films say nothing of pictures",
         {{.videoCodec = VideoCodec::hevc}, {}, {}},
         "png",
         preserve,
         {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const ConversionVerdict verdict = verdictOn(planTo(each.target), planner(), file, each.asked);
        EXPECT_EQ(verdict.options, (ConversionOptions{.colorProfile = each.used}));
        EXPECT_EQ(verdict.warnings, each.warnings);
        EXPECT_FALSE(verdict.refusal);
    }
}

TEST(ConversionVerdict, AnnouncesWhatTheSettledOptionsLose)
{
    // What the route does not take (a target size of PNG) is no reason to announce anything.
    const ConversionPlanner honest =
        planner([](const auto&, const auto&, const auto&, const ConversionOptions& options) {
            return options.maxFileBytes   ? ConversionLoss::resolution
                   : options.quality == 1 ? ConversionLoss{}
                                          : ConversionLoss::compression;
        });
    ConversionPlan toPng = planTo("png");
    toPng.options = {Kind::quality};
    toPng.refused = {Kind::targetSize};
    const AskedOptions asked{.preferences = {.quality = 1, .maxFileBytes = 20'000}};
    EXPECT_EQ(verdictOn(toPng, honest, {.format = format("jpeg")}, asked).plan.losses, ConversionLoss{});
    EXPECT_EQ(verdictOn(planTo("avif"), honest, {.format = format("jpeg")}, asked).plan.losses,
              ConversionLoss::resolution);
}

TEST(ConversionVerdict, OnlyWhatWasTypedRefuses)
{
    const DetectionResult file{.format = format("jpeg")};
    OptionOverrides cutOut;
    cutOut.set(&ConversionOptions::removeBackground, true);
    EXPECT_TRUE(verdictOn(planTo("png"), planner(), file, {.typed = cutOut}).refusal);
    EXPECT_FALSE(verdictOn(planTo("png"), planner(), file, {.recipe = cutOut}).refusal);
    const ConversionVerdict preferred =
        verdictOn(planTo("png"), planner(), file, {.preferences = {.removeBackground = true}});
    EXPECT_FALSE(preferred.refusal || preferred.options.removeBackground);
    EXPECT_EQ(preferred.warnings.back(), "L'arrière-plan reste : cette conversion ne sait pas le retirer.");
}

TEST(ConversionVerdict, AFileThatFitsLosesOnlyWhatIsAskedOfIt)
{
    const DetectionResult file{
        .format = format("jpeg"), .fileSize = 50'000, .properties = {.pixelWidth = 300, .pixelHeight = 200}};
    const ConversionLoss both = ConversionLoss::compression | ConversionLoss::resolution;
    const ConversionPlanner losing = planner([both](const auto&...) { return both; });
    const struct {
        const char* name;
        ConversionOptions asked;
        ConversionLoss losses;
    } cases[] = {
        {"a byte too much", {.maxFileBytes = 49'999}, both},
        {"fits exactly", {.maxFileBytes = 50'000}, {}},
        {"without a size", {}, both},
        {"its pixels fit too", {.maxPixelDimension = 300, .maxFileBytes = 50'000}, {}},
        {"a pixel too much", {.maxPixelDimension = 299, .maxFileBytes = 50'000}, both},
        {"other colours",
         {.colorProfile = ColorProfilePolicy::sRGB, .maxFileBytes = 50'000},
         ConversionLoss::compression},
        {"no metadata", {.metadata = MetadataPolicy::removeAll, .maxFileBytes = 50'000}, ConversionLoss::compression},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(verdictOn(planTo("jpeg"), losing, file, {.preferences = each.asked}).plan.losses, each.losses);
    }
}

} // namespace
} // namespace nivex
