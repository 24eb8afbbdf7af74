#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Planning/SmartFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

using ::testing::ElementsAre;

const FileFormat& format(const char* id) { return *FormatRegistry::standard().format(id); }

TEST(SmartFormats, likelyTargetsFollowTheKindOfTheSource)
{
    struct Case {
        const char* name;
        const char* source;
        SourceProperties properties;
        std::vector<FormatID> expected;
    };
    const std::vector<FormatID> pictureWithAlpha{"png", "jpeg", "pdf", "heic", "tiff", "avif"};
    const std::vector<FormatID> photograph{"jpeg", "heic", "png", "pdf", "tiff", "avif"};
    // clang-format off
    const Case cases[] = {
        {"document",                  "docx", {},                  {"pdf", "docx", "md", "txt", "html", "rtf", "odt", "doc"}},
        {"PDF is no text document",   "pdf",  {.hasAlpha = true},  {"png", "jpeg", "tiff", "heic", "txt"}},
        {"spreadsheet",               "csv",  {},                  {"xlsx", "csv", "json", "tsv", "yaml", "plist"}},
        {"audio",                     "mp3",  {},                  {"m4a", "wav", "flac", "alac", "aiff", "caf"}},
        {"video with transparency",   "mov",  {.hasAlpha = true},  {"mp4", "mov", "gif", "m4a", "m4v", "wav"}},
        {"scene",                     "fbx",  {},                  {"glb", "usdz", "obj", "gltf", "usd", "stl", "ply"}},
        {"subtitle",                  "ass",  {},                  {"srt", "vtt", "txt"}},
        {"drawing with transparency", "svg",  {.hasAlpha = true},  {"png", "pdf", "jpeg", "heic", "tiff"}},
        {"Illustrator",               "ai",   {},                  {"svg", "png", "pdf", "jpeg", "tiff", "heic"}},
        {"InDesign",                  "indd", {},                  {"pdf", "png", "jpeg"}},
        {"HEIC with transparency",    "heic", {.hasAlpha = true},  pictureWithAlpha},
        {"HEIC without",              "heic", {.hasAlpha = false}, photograph},
        {"HEIF",                      "heif", {},                  photograph},
        {"camera raw",                "cr2",  {},                  photograph},
        {"PNG with transparency",     "png",  {.hasAlpha = true},  pictureWithAlpha},
        {"PNG without",               "png",  {},                  {}},
        {"also a scene, but a picture", "ktx2", {},                {}},
        {"presentation",              "pptx", {},                  {}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(SmartFormats::preferredOrder(format(each.source), each.properties), each.expected);
    }
    EXPECT_THAT(SmartFormats::popularity(), ElementsAre("jpeg", "png", "heic", "pdf", "tiff", "avif", "gif", "bmp",
                                                        "jp2", "ico", "icns", "psd", "exr", "tga"));
}

ConversionPlan plan(const char* target, std::size_t steps = 1, ConversionLoss losses = {})
{
    return {.target = format(target), .steps = std::vector<PlannedStep>(steps), .losses = losses};
}

std::vector<FormatID> ranked(std::vector<ConversionPlan> plans, const char* source, SourceProperties properties = {})
{
    std::vector<FormatID> targets;
    for (const ConversionPlan& each : SmartFormats::rank(std::move(plans), format(source), properties))
        targets.push_back(each.id());
    return targets;
}

TEST(SmartFormats, rankingIsByPreferenceThenLossThenPopularityThenSteps)
{
    EXPECT_THAT(ranked({plan("tga"), plan("webp"), plan("avif", 3, ConversionLoss::layers), plan("png", 2),
                        plan("jpeg", 1, ConversionLoss::transparency)},
                       "heic"),
                ElementsAre("jpeg", "png", "avif", "tga", "webp"))
        << "a preferred target precedes every other, whatever it loses";
    EXPECT_THAT(ranked({plan("hdr", 2), plan("jpeg", 1, ConversionLoss::transparency), plan("webp", 1),
                        plan("gif", 3, ConversionLoss::colorPalette), plan("bmp", 1)},
                       "tiff"),
                ElementsAre("gif", "bmp", "webp", "hdr", "jpeg"));
}

TEST(SmartFormats, tiesGoByNameThenIdentifierWhateverTheOrderOfThePlans)
{
    // By name: "MP3", "Opus", "WAV", "glTF"; capitals stand before small letters.
    std::vector<ConversionPlan> plans{plan("wav"), plan("gltf"), plan("opus"), plan("mp3")};
    ConversionPlan twin = plan("mp3");
    twin.target.id = "mp2";
    plans.push_back(twin);
    for (int turn = 0; turn < 5; ++turn) {
        std::ranges::rotate(plans, plans.begin() + 1);
        EXPECT_THAT(ranked(plans, "png"), ElementsAre("mp2", "mp3", "opus", "wav", "gltf"));
    }
}

} // namespace
} // namespace nivex
