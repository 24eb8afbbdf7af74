#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace nivex {
namespace {

using Steps = std::vector<RecipeStep>;
using ::testing::ElementsAre;

ConversionRecipe recipe(Steps steps) { return ConversionRecipe::make("Web", std::move(steps)); }

/// Every kind once, with the value that a new block has.
Steps everyBlock()
{
    Steps steps;
    for (const RecipeBlockKind kind : allBlockKinds())
        steps.push_back(initialStep(kind));
    return steps;
}

/// The sentence of the first rule that a recipe breaks; empty for a valid one.
std::string refusal(const ConversionRecipe& recipe)
{
    try {
        EXPECT_EQ(recipe.validated(), recipe);
        return {};
    } catch (const RecipeError& error) {
        return error.message();
    }
}

TEST(ConversionRecipe, ChecksVersionThenNameAndCount)
{
    const std::string version = "Cette version du raccourci n’est pas prise en charge.";
    const std::string name = "Nom ou nombre de blocs invalide.";
    struct Case {
        const char* fault;
        std::int64_t version;
        std::string name;
        Steps steps;
        std::string refusal;
    };
    Steps nineteen = everyBlock();
    nineteen.push_back(step::Quality{2});
    std::string family;
    for (int i = 0; i < 80; ++i)
        family += "e\u0301"; // two scalars, one character
    const Steps some = {step::Convert{"png"}};
    const Case cases[] = {
        {"the first version is still read", 1, "Web", some, {}},
        {"a later version", 3, "Web", some, version},
        {"no version, before the empty name", 0, "", {}, version},
        {"18 blocks", 2, "Web", everyBlock(), {}},
        {"19 blocks, before the value of one of them", 2, "Web", nineteen, name},
        {"no block", 2, "Web", {}, name},
        {"only spaces of several kinds", 2, " \t\u00A0\n", some, name},
        {"80 characters of two scalars each", 2, family, some, {}},
        {"81 characters", 2, family + "a", some, name},
        {"an invisible format character", 2, "We\u200Bb\u202E", some, name},
        {"a line break inside", 2, "We\nb", some, name},
        {"bytes that are not UTF-8", 2, "We\xFF", some, name},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(refusal({.id = {}, .version = each.version, .name = each.name, .steps = each.steps}), each.refusal);
    }
}

TEST(ConversionRecipe, ChecksEachValueInItsRange)
{
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    const std::string text80(80, 'x');
    struct Case {
        Steps accepted;
        Steps refused;
        std::string refusal;
    };
    const Case cases[] = {
        {{step::Resize{16}, step::Resize{16'384}},
         {step::Resize{15}, step::Resize{16'385}, step::Resize{-16}},
         "La taille doit être comprise entre 16 et 16 384 px."},
        {{step::Quality{0}, step::Quality{1}},
         {step::Quality{-0.01}, step::Quality{1.01}, step::Quality{nan}, step::Quality{infinity}},
         "Qualité invalide."},
        {{step::RenderDPI{36}, step::RenderDPI{600}},
         {step::RenderDPI{35.9}, step::RenderDPI{600.1}, step::RenderDPI{nan}},
         "La résolution doit être comprise entre 36 et 600 ppp."},
        {{step::MaxFileBytes{10'000}, step::MaxFileBytes{1'000'000'000}},
         {step::MaxFileBytes{9'999}, step::MaxFileBytes{1'000'000'001}},
         "Le poids cible doit être compris entre 10 Ko et 1 Go."},
        {{step::AudioBitRate{32'000}, step::AudioBitRate{320'000}},
         {step::AudioBitRate{31'999}, step::AudioBitRate{320'001}},
         "Le débit AAC doit être compris entre 32 et 320 kbit/s."},
        {{step::SourceFormat{"jpeg"}},
         {step::SourceFormat{"JPEG"}, step::SourceFormat{""}, step::SourceFormat{"jpg"}},
         "Format source inconnu."},
        {{step::NameContains{"é"}, step::NameContains{text80}},
         {step::NameContains{""}, step::NameContains{" "}, step::NameContains{text80 + "x"},
          step::NameContains{"a\u200D"}, step::NameContains{"\xC3"}},
         "Le filtre de nom doit contenir entre 1 et 80 caractères imprimables."},
        {{step::InputSizeLimit{1}, step::InputSizeLimit{10'000'000'000}},
         {step::InputSizeLimit{0}, step::InputSizeLimit{10'000'000'001}},
         "La limite d’entrée doit être comprise entre 1 octet et 10 Go."},
    };
    const RecipeStep target = step::Convert{"png"};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.refusal);
        for (const RecipeStep& step : each.accepted)
            EXPECT_EQ(refusal(recipe({target, step})), "");
        for (const RecipeStep& step : each.refused)
            EXPECT_EQ(refusal(recipe({step, target})), each.refusal);
    }
    EXPECT_EQ(refusal(recipe({step::Convert{"unheard-of"}})), "Format inconnu.");
}

TEST(ConversionRecipe, WantsEachBlockOnceAndOneTarget)
{
    const std::string twice = "Un même bloc ne peut apparaître qu’une fois.";
    EXPECT_EQ(refusal(recipe({step::Quality{0.5}, step::Quality{0.5}})), twice) << "before the missing target";
    EXPECT_EQ(refusal(recipe({step::Quality{0.5}, step::Quality{7}})), "Qualité invalide.") << "before the repetition";
    EXPECT_EQ(refusal(recipe({step::Convert{"png"}, step::Convert{"jpeg"}})), twice);
    EXPECT_EQ(refusal(recipe({step::Resize{2048}})), "Ajoutez un bloc de conversion.");
}

TEST(ConversionRecipe, LaysItsSettingsOverTheBase)
{
    ConversionOptions preferences;
    preferences.quality = 0.3;
    preferences.renderDPI = 300;
    ConversionOptions expected = preferences;
    expected.maxPixelDimension = 2048;
    expected.metadata = MetadataPolicy::removeAll;

    EXPECT_EQ(recipe({step::Resize{2048}, step::Convert{"png"}, step::Metadata{MetadataPolicy::removeAll}})
                  .options(preferences),
              expected);

    const ConversionOptions all{
        .quality = 0.1,
        .metadata = MetadataPolicy::removeLocation,
        .colorProfile = ColorProfilePolicy::cmyk,
        .maxPixelDimension = 99,
        .flattenBackground = FlattenBackground::black,
        .renderDPI = 72,
        .pageBackground = PageBackground::transparent,
        .removeBackground = true,
        .maxFileBytes = 20'000,
        .videoQuality = VideoQuality::p480,
        .videoCodec = VideoCodec::prores4444,
        .audioBitRate = 64'000,
    };
    EXPECT_EQ(recipe({step::Quality{all.quality}, step::Metadata{all.metadata}, step::ColorProfile{all.colorProfile},
                      step::Resize{99}, step::Flatten{all.flattenBackground}, step::RenderDPI{72},
                      step::Page{all.pageBackground}, step::RemoveBackground{true}, step::MaxFileBytes{20'000},
                      step::VideoDefinition{all.videoQuality}, step::Codec{all.videoCodec}, step::AudioBitRate{64'000},
                      step::Convert{"png"}, step::ResetDefaults{}})
                  .options(preferences),
              all)
        << "the standard values come first wherever their block stands";
    EXPECT_EQ(recipe({step::Convert{"png"}, step::ResetDefaults{}}).options(preferences), ConversionOptions{})
        << "the preferences count although the recipe starts afresh";
    EXPECT_THROW(recipe({step::Resize{2048}}).options(preferences), RecipeError);
}

TEST(ConversionRecipe, AcceptsFilesThatMeetEveryCondition)
{
    const FormatRegistry& registry = FormatRegistry::standard();
    const auto file = [&](const char* name, const char* format, std::int64_t size) {
        DetectionResult result;
        result.url = std::filesystem::path{"/été/photos"} / name;
        if (format)
            result.format = *registry.format(FormatID{format});
        result.fileSize = size;
        return result;
    };
    struct Case {
        const char* fault;
        Steps conditions;
        DetectionResult file;
        bool expected;
    };
    const Case cases[] = {
        {"no condition, nothing detected", {}, file("x", nullptr, 1), true},
        {"family", {step::SourceFamily{FormatFamily::image}}, file("x", "png", 1), true},
        {"another family", {step::SourceFamily{FormatFamily::audio}}, file("x", "png", 1), false},
        {"family of an unknown file", {step::SourceFamily{FormatFamily::image}}, file("x.png", nullptr, 1), false},
        {"format against the extension", {step::SourceFormat{"png"}}, file("x.jpg", "png", 1), true},
        {"the extension alone", {step::SourceFormat{"jpeg"}}, file("x.jpg", "png", 1), false},
        {"format of an unknown file", {step::SourceFormat{"png"}}, file("x.png", nullptr, 1), false},
        {"capitals with accents", {step::NameContains{"ÉTÉ"}}, file("bel été.png", "png", 1), true},
        {"the folder is not the name", {step::NameContains{"été"}}, file("hiver.png", "png", 1), false},
        {"exactly the limit", {step::InputSizeLimit{1000}}, file("x", "png", 1000), true},
        {"one byte more", {step::InputSizeLimit{1000}}, file("x", "png", 1001), false},
        {"one of two conditions",
         {step::SourceFamily{FormatFamily::image}, step::InputSizeLimit{1000}},
         file("x", "png", 1001),
         false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(recipe(each.conditions).accepts(each.file), each.expected);
    }
}

} // namespace
} // namespace nivex
