#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Planning/ConversionVerdict.hpp"

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
            .losses = ConversionLoss::compression | ConversionLoss::resolution,
            .options = {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile, Kind::targetSize},
            .refused = {Kind::removeBackground}};
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
        ConversionPlan plan = planTo(each.target);
        plan.losses = {};
        const ConversionVerdict verdict = verdictOn(plan, file, each.asked);
        EXPECT_EQ(verdict.options, (ConversionOptions{.colorProfile = each.used}));
        EXPECT_EQ(verdict.warnings, each.warnings);
        EXPECT_FALSE(verdict.refusal);
    }
}

TEST(ConversionVerdict, OnlyWhatWasTypedRefuses)
{
    const DetectionResult file{.format = format("jpeg")};
    OptionOverrides cutOut;
    cutOut.set(&ConversionOptions::removeBackground, true);
    EXPECT_TRUE(verdictOn(planTo("png"), file, {.typed = cutOut}).refusal);
    EXPECT_FALSE(verdictOn(planTo("png"), file, {.recipe = cutOut}).refusal);
    const ConversionVerdict preferred = verdictOn(planTo("png"), file, {.preferences = {.removeBackground = true}});
    EXPECT_FALSE(preferred.refusal || preferred.options.removeBackground);
    EXPECT_EQ(preferred.warnings.back(), "L'arrière-plan reste : cette conversion ne sait pas le retirer.");
}

TEST(ConversionVerdict, AFileThatFitsLosesOnlyWhatIsAskedOfIt)
{
    const DetectionResult file{
        .format = format("jpeg"), .fileSize = 50'000, .properties = {.pixelWidth = 300, .pixelHeight = 200}};
    const ConversionLoss both = ConversionLoss::compression | ConversionLoss::resolution;
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
        EXPECT_EQ(verdictOn(planTo("jpeg"), file, {.preferences = each.asked}).plan.losses, each.losses);
    }
}

} // namespace
} // namespace nivex
