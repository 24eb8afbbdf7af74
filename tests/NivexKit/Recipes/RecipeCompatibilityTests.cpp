#include "NivexKit/Recipes/ConversionRecipe.hpp"
#include "NivexKit/Recipes/TargetCapabilities.hpp"
#include "tests/Support/FakeEngine.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;
using nivex::testing::edge;
using nivex::testing::fakeEngine;

const TargetCapabilities everything{
    .isReachable = true,
    .options = {Kind::quality, Kind::metadata, Kind::colorProfile, Kind::dimensions, Kind::background,
                Kind::renderResolution, Kind::removeBackground, Kind::videoQuality, Kind::audioQuality},
};

TEST(RecipeCompatibility, WarnsOfBlocksThatTheTargetCannotTake)
{
    const char* const proResDefinition =
        "ProRes conserve la définition originale : retirez le redimensionnement vidéo.";
    struct Case {
        const char* target;
        std::vector<RecipeStep> blocks;
        std::vector<std::string> warnings;
    };
    const step::Page transparent{PageBackground::transparent};
    const step::ColorProfile cmyk{ColorProfilePolicy::cmyk};
    const step::Codec proRes{VideoCodec::prores422};
    const Case cases[] = {
        {"jpeg", {transparent}, {"Ce format de sortie ne conserve pas la transparence des pages."}},
        {"jpeg", {step::Page{PageBackground::white}}, {}},
        {"png", {transparent}, {}},
        {"png", {cmyk}, {"Le CMJN nécessite une sortie JPEG, TIFF, PSD ou PDF."}},
        {"tiff", {cmyk}, {}},
        {"mov", {proRes, step::VideoDefinition{VideoQuality::p720}}, {proResDefinition}},
        {"mov", {proRes, step::VideoDefinition{VideoQuality::original}}, {}},
        {"mp4",
         {proRes, step::VideoDefinition{VideoQuality::p720}},
         {proResDefinition, "ProRes nécessite une sortie MOV."}},
        {"mp3", {step::AudioBitRate{256'000}}, {"Le débit AAC nécessite une sortie M4A."}},
        {"m4a", {step::AudioBitRate{96'000}}, {}},
        {"png",
         {step::Codec{VideoCodec::hevc}, step::VideoDefinition{VideoQuality::p720}},
         {"Le codec vidéo nécessite une sortie vidéo.", "La définition vidéo nécessite une sortie vidéo."}},
        {"png",
         {step::MaxFileBytes{20'000}},
         {"Le poids cible nécessite une sortie image avec perte, PDF ou vidéo compatible."}},
        {"heic", {step::MaxFileBytes{20'000}}, {}},
    };
    for (const Case& each : cases) {
        std::vector<RecipeStep> steps = each.blocks;
        steps.push_back(step::Convert{each.target});
        EXPECT_EQ(ConversionRecipe::make("x", steps).compatibilityWarnings(everything), each.warnings) << each.target;
    }
}

TEST(RecipeCompatibility, WarnsOfOptionsThatNoEdgeToTheTargetHonours)
{
    const ConversionRecipe recipe = ConversionRecipe::make(
        "x", {step::Convert{"png"}, step::Resize{100}, step::Quality{0.5}, step::RemoveBackground{false},
              step::ColorProfile{ColorProfilePolicy::cmyk}, step::NameContains{"a"}});
    const TargetCapabilities resizing{.isReachable = true, .options = {Kind::dimensions}};

    EXPECT_THAT(recipe.compatibilityWarnings(resizing),
                ::testing::ElementsAre("Le CMJN nécessite une sortie JPEG, TIFF, PSD ou PDF.",
                                       "Qualité d’image : réservé aux conversions d’images compatibles."))
        << "one warning a block, none for a block that asks for nothing";
    EXPECT_THAT(recipe.compatibilityWarnings({}), ::testing::SizeIs(1)) << "where nothing writes the target";
}

TEST(RecipeCompatibility, UnitesTheEdgesOfAvailableEngines)
{
    const auto to = [](const char* target, Kind kind) { return edge("tiff", target, {}, {kind}); };
    const auto absent = fakeEngine("absent", {to("png", Kind::background)});
    absent->state = EngineAvailability::unavailable("absent");
    const EngineList engines = {
        fakeEngine("first", {to("png", Kind::dimensions), to("jpeg", Kind::quality)}),
        fakeEngine("second", {to("png", Kind::metadata)}),
        absent,
    };

    EXPECT_EQ(TargetCapabilities::of("png", engines),
              (TargetCapabilities{.isReachable = true, .options = {Kind::dimensions, Kind::metadata}}));
    EXPECT_EQ(TargetCapabilities::of("webp", engines), TargetCapabilities{});
}

} // namespace
} // namespace nivex
