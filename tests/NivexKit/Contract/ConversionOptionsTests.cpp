#include "NivexKit/Contract/OptionCombinations.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {
namespace {

TEST(ConversionOptions, defaultsAreWrittenWithoutTheAbsentMembers)
{
    EXPECT_EQ(writeJson(toJson(ConversionOptions{})),
              R"({"quality":0.85,"metadata":"keep","colorProfile":"preserve","flattenBackground":"white",)"
              R"("renderDPI":150.0,"pageBackground":"white","removeBackground":false,"videoQuality":"original",)"
              R"("videoCodec":"h264","audioBitRate":256000})");
}

TEST(ConversionOptions, everySettingSurvivesJson)
{
    const ConversionOptions changed{.quality = 0.5,
                                    .metadata = MetadataPolicy::removeAll,
                                    .colorProfile = ColorProfilePolicy::cmyk,
                                    .maxPixelDimension = 800,
                                    .flattenBackground = FlattenBackground::black,
                                    .renderDPI = 72.5,
                                    .pageBackground = PageBackground::transparent,
                                    .removeBackground = true,
                                    .maxFileBytes = 5'000'000'000,
                                    .videoQuality = VideoQuality::p480,
                                    .videoCodec = VideoCodec::prores4444,
                                    .audioBitRate = 96'000};
    EXPECT_EQ(conversionOptionsFromJson(parseJson(writeJson(toJson(changed)))), changed);
}

TEST(ConversionOptions, jsonOfAnotherVersionIsReadAndNonsenseRefused)
{
    struct Case {
        const char* name;
        const char* json;
        std::optional<ConversionOptions> expected; // absent: refused
    };
    const Case cases[] = {
        {"absent members take defaults", "{}", ConversionOptions{}},
        {"null is absent", R"({"maxFileBytes":null})", ConversionOptions{}},
        {"a member of a later version", R"({"quality":1,"sharpness":3})", ConversionOptions{.quality = 1}},
        {"not an object", "[]", {}},
        {"text for a number", R"({"quality":"1"})", {}},
        {"fraction for a whole number", R"({"maxPixelDimension":1.5})", {}},
        {"number for a switch", R"({"removeBackground":1})", {}},
        {"null for what is never absent", R"({"audioBitRate":null})", {}},
        {"unknown case", R"({"videoCodec":"av1"})", {}},
        {"stored names keep their case", R"({"colorProfile":"srgb"})", {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        if (each.expected)
            EXPECT_EQ(conversionOptionsFromJson(parseJson(each.json)), *each.expected);
        else
            EXPECT_THROW(conversionOptionsFromJson(parseJson(each.json)), JsonError);
    }
}

TEST(ConversionOptions, kindsAreStoredUnderTheirNames)
{
    EXPECT_EQ(optionKindStoredAs("renderResolution"), ConversionOptionKind::renderResolution);
    EXPECT_EQ(optionKindStoredAs("RenderResolution"), std::nullopt);
    const ConversionOptionKinds kinds{ConversionOptionKind::audioQuality, ConversionOptionKind::quality};
    EXPECT_THAT(kinds.list(),
                ::testing::ElementsAre(ConversionOptionKind::quality, ConversionOptionKind::audioQuality));
}

TEST(OutputDestination, everyFolderNameSurvivesJson)
{
    const OutputDestination destinations[] = {
        SameFolderAsSource{},
        DestinationFolder{"/tmp/Été 100 %"},
        DestinationFolder{"/tmp/not \xFF UTF-8\n"},
    };
    for (const OutputDestination& each : destinations)
        EXPECT_EQ(outputDestinationFromJson(parseJson(writeJson(toJson(each)))), each);
    EXPECT_EQ(writeJson(toJson(destinations[0])), R"({"sameFolderAsSource":{}})");
    EXPECT_EQ(writeJson(toJson(destinations[1])), R"({"folder":{"_0":"file:///tmp/%C3%89t%C3%A9%20100%20%25"}})");
    EXPECT_EQ(outputDestinationFromJson(parseJson(R"({"folder":{"_0":"/a %41"}})")),
              OutputDestination{DestinationFolder{"/a %41"}});
}

TEST(OutputDestination, malformedJsonIsRefused)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{}", "Invalid number of keys found, expected one."},
        {R"({"folder":{"_0":"file:///a"},"sameFolderAsSource":{}})", "Invalid number of keys found, expected one."},
        {"[]", "Invalid number of keys found, expected one."},
        {R"({"elsewhere":{}})", "output destination: unknown case elsewhere"},
        {R"({"folder":{}})", "output destination: folder without a location"},
        {R"({"folder":{"_0":7}})", "output destination: folder without a location"},
        {R"({"folder":{"_0":"file:///a%4"}})", "output destination: malformed location"},
        {R"({"folder":{"_0":"file:///a%+4"}})", "output destination: malformed location"},
        {R"({"folder":{"_0":"file:///a%00"}})", "output destination: malformed location"},
    };
    for (const auto& [json, message] : cases) {
        SCOPED_TRACE(json);
        try {
            outputDestinationFromJson(parseJson(json));
            ADD_FAILURE() << "accepted";
        } catch (const JsonError& error) {
            EXPECT_STREQ(error.what(), message);
        }
    }
}

TEST(OptionCombinations, onlySettingsThatTheOutputCannotTakeAreTold)
{
    using enum OptionCombination;
    struct Case {
        const char* name;
        ConversionOptions options;
        FileFormat target;
        std::vector<OptionCombination> expected;
    };
    const FileFormat png{.id = "png", .traits = FormatTrait::transparency};
    const FileFormat jpeg{.id = "jpeg"};
    const FileFormat mov{.id = "mov", .family = FormatFamily::video};
    const FileFormat mp4{.id = "mp4", .family = FormatFamily::video};
    const FileFormat m4a{.id = "m4a", .family = FormatFamily::audio};
    const VideoCodec prores = VideoCodec::prores422;
    // clang-format off
    const Case cases[] = {
        {"defaults suit all",        {},                                                    jpeg, {}},
        {"transparent page, kept",   {.pageBackground = PageBackground::transparent},       png,  {}},
        {"transparent page, lost",   {.pageBackground = PageBackground::transparent},       jpeg, {pageTransparency}},
        {"CMYK",                     {.colorProfile = ColorProfilePolicy::cmyk},            jpeg, {}},
        {"CMYK into RGB only",       {.colorProfile = ColorProfilePolicy::cmyk},            png,  {cmyk}},
        {"ProRes",                   {.videoCodec = prores},                                mov,  {}},
        {"ProRes made smaller",      {.videoQuality = VideoQuality::p720, .videoCodec = prores}, mov, {proResDefinition}},
        {"ProRes in MPEG-4",         {.videoCodec = prores},                                mp4,  {proResOutput}},
        {"HEVC made smaller",        {.videoQuality = VideoQuality::p720, .videoCodec = VideoCodec::hevc}, mp4, {}},
        {"video settings for sound", {.videoQuality = VideoQuality::p720, .videoCodec = VideoCodec::hevc}, m4a, {videoCodec, videoQuality}},
        {"bit rate",                 {.audioBitRate = 96'000},                              m4a,  {}},
        {"bit rate of a film",       {.audioBitRate = 96'000},                              mp4,  {audioBitRate}},
        {"target size, lossy",       {.maxFileBytes = 20'000},                              jpeg, {}},
        {"target size, lossless",    {.maxFileBytes = 20'000},                              png,  {targetSize}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(settingsNotTaken(each.options, each.target), each.expected);
    }
    EXPECT_EQ(message(targetSize).localized(),
              "Le poids cible nécessite une sortie image avec perte, PDF ou vidéo compatible.");
}

} // namespace
} // namespace nivex
