#include "NivexKit/Contract/LossAnalysis.hpp"

namespace nivex {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

using Loss = ConversionLoss;
using enum FormatTrait;

TEST(ConversionLoss, everyMemberIsNamedInTheOrderShownUnderItsPersistedValue)
{
    const std::pair<std::string_view, std::uint32_t> expected[] = {
        {"transparency", 0x8},     {"animation", 0x10},      {"pages", 0x20},        {"preview", 0x1000000},
        {"layers", 0x40},          {"rasterization", 0x80},  {"resolution", 0x100},  {"videoTrack", 0x2000},
        {"audioTrack", 0x20000},   {"materials", 0x40000},   {"rigging", 0x80000},   {"duration", 0x4000},
        {"rawDevelopment", 0x200}, {"recognition", 0x10000}, {"layout", 0x1000},     {"outlinedText", 0x800000},
        {"formatting", 0x800},     {"timing", 0x400000},     {"formulas", 0x200000}, {"structure", 0x8000},
        {"channels", 0x100000},    {"colorPalette", 0x400},  {"colorDepth", 0x4},    {"metadata", 0x2},
        {"compression", 0x1},
    };
    std::vector<std::string_view> all;
    for (const auto& [name, value] : expected) {
        EXPECT_THAT(Loss{value}.names(), ElementsAre(name));
        EXPECT_EQ(Loss{value}.warnings().size(), 1u);
        all.push_back(name);
    }
    EXPECT_EQ(Loss{0xFFFFFFFF}.names(), all);
    EXPECT_EQ(Loss{0xFFFFFFFF}.warnings().size(), all.size());
    EXPECT_EQ(Loss{0xFFFFFFFF}.majorPart(), Loss::transparency | Loss::animation | Loss::pages | Loss::preview |
                                                Loss::layers | Loss::rasterization | Loss::resolution |
                                                Loss::videoTrack | Loss::audioTrack | Loss::materials | Loss::rigging |
                                                Loss::duration);
}

TEST(ConversionLoss, warningsStateTheSecondsOfAnAnimation)
{
    EXPECT_TRUE(Loss{}.warnings().empty());
    EXPECT_THAT((Loss::compression | Loss::transparency).warnings(),
                ElementsAre("La transparence sera remplacée par un fond uni.", StartsWith("Compression avec perte")));
    EXPECT_THAT(Loss::duration.warnings(), ElementsAre("Seules les 10 premières secondes seront converties."));
}

TEST(LossAnalysis, majorLossesWeighTenTimesTheOthers)
{
    EXPECT_EQ(LossAnalysis::cost({}), 0.0);
    EXPECT_EQ(LossAnalysis::cost(Loss::compression | Loss::metadata), 1.0);
    EXPECT_EQ(LossAnalysis::cost(Loss::transparency), 5.0);
    EXPECT_EQ(LossAnalysis::cost(Loss::transparency | Loss::compression), 5.5);
}

FileFormat format(FormatID id, FormatFamily family, FormatTraits traits = {})
{
    return {.id = std::move(id), .family = family, .traits = traits};
}

const FileFormat png = format("png", FormatFamily::image, lossless | transparency | highDynamicRange);
const FileFormat jpeg = format("jpeg", FormatFamily::image, lossy);
const FileFormat bmp = format("bmp", FormatFamily::image, lossless | transparency);
const FileFormat gif = format("gif", FormatFamily::image, lossless | transparency | animation);
const FileFormat tiff =
    format("tiff", FormatFamily::image, lossless | transparency | multiPage | layers | highDynamicRange);
const FileFormat psd = format("psd", FormatFamily::graphics, transparency | layers | highDynamicRange);
const FileFormat dng = format("dng", FormatFamily::image, raw | highDynamicRange);
const FileFormat svg = format("svg", FormatFamily::graphics, transparency | vector);
const FileFormat pdf = format("pdf", FormatFamily::document, transparency | multiPage | vector);
const FileFormat fbx = format("fbx", FormatFamily::threeD, animation);
const FileFormat mov = format("mov", FormatFamily::video, lossy | lossless | transparency);
const FileFormat wav = format("wav", FormatFamily::audio, lossless);

TEST(LossAnalysis, aDirectConversionLosesWhatTheTargetCannotHold)
{
    struct Case {
        const char* name;
        const FileFormat& source;
        SourceProperties properties;
        const FileFormat& target;
        ConversionLoss expected;
    };
    // clang-format off
    const Case cases[] = {
        {"alpha into JPEG",                 png,  {.hasAlpha = true},             jpeg, Loss::transparency | Loss::compression},
        {"alpha not measured",              png,  {},                             jpeg, Loss::compression},
        {"alpha kept",                      png,  {.hasAlpha = true},             bmp,  {}},
        {"three pages into one image",      pdf,  {.pageCount = 3},               png,  Loss::pages | Loss::rasterization},
        {"three pages into several",        pdf,  {.pageCount = 3},               tiff, Loss::rasterization},
        {"one page is no page lost",        pdf,  {.pageCount = 1},               png,  Loss::rasterization},
        {"frames into a still",             gif,  {.imageCount = 2},              png,  Loss::animation},
        {"frames into pages",               gif,  {.imageCount = 2},              tiff, Loss::animation},
        {"frames into frames",              gif,  {.imageCount = 2},              gif,  {}},
        {"an animated scene is no picture", fbx,  {.imageCount = 2},              png,  Loss::pages},
        {"pages into frames",               tiff, {.imageCount = 2},              gif,  {}},
        {"vector stays vector",             svg,  {},                             pdf,  {}},
        {"layered drawing, unmeasured",     psd,  {},                             png,  Loss::layers},
        {"layered drawing, target layered", psd,  {},                             tiff, {}},
        {"layered picture, unmeasured",     tiff, {},                             png,  {}},
        {"measured layers",                 tiff, {.hasLayers = true},            png,  Loss::layers},
        {"measured layers, even so",        psd,  {.hasLayers = true},            tiff, Loss::layers},
        {"measured layers into SVG",        psd,  {.hasLayers = true},            svg,  Loss::layers},
        {"layers as SVG groups",            tiff, {.hasLayers = true},            svg,  {}},
        {"lossy or lossless target",        wav,  {},                             mov,  {}},
        {"16 bits into 8",                  png,  {.bitsPerComponent = 16},       bmp,  Loss::colorDepth},
        {"16 bits kept",                    png,  {.bitsPerComponent = 16},       tiff, {}},
        {"8 bits, but floating point",      tiff, {.bitsPerComponent = 8, .isFloatingPoint = true}, bmp, Loss::colorDepth},
        {"raw is developed",                dng,  {},                             png,  Loss::rawDevelopment},
        {"picture dropped, unmeasured",     mov,  {},                             wav,  Loss::videoTrack},
        {"no picture to drop",              mov,  {.hasVideoTrack = false},       wav,  {}},
        {"sound dropped",                   mov,  {.hasAudioTrack = true},        gif,  Loss::audioTrack},
        {"sound not measured",              mov,  {},                             gif,  {}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_THAT(LossAnalysis::inherent(each.source, each.properties, each.target).names(),
                    ::testing::ElementsAreArray(each.expected.names()));
    }
}

TEST(LossAnalysis, aStepLeavesOfTheFileWhatItsTargetHolds)
{
    const SourceProperties rich{.pixelWidth = 40,
                                .hasAlpha = true,
                                .imageCount = 3,
                                .pageCount = 4,
                                .bitsPerComponent = 16,
                                .isFloatingPoint = true,
                                .decoderTypeIdentifier = "public.tiff",
                                .hasVideoTrack = true,
                                .hasAudioTrack = true,
                                .hasLayers = true};
    struct Case {
        const char* name;
        SourceProperties before;
        const FileFormat& to;
        SourceProperties after;
    };
    // clang-format off
    const Case cases[] = {
        {"a format that holds all", rich, tiff, {.pixelWidth = 40, .hasAlpha = true, .imageCount = 3, .pageCount = 4, .bitsPerComponent = 16,
                                                 .isFloatingPoint = true, .hasVideoTrack = true, .hasLayers = true}},
        {"one that holds nothing",  rich, jpeg, {.pixelWidth = 40, .hasAlpha = false, .imageCount = 1, .pageCount = 1, .bitsPerComponent = 8,
                                                 .isFloatingPoint = false, .hasVideoTrack = true, .hasLayers = false}},
        {"sound has no picture",    rich, wav,  {.pixelWidth = 40, .hasAlpha = false, .imageCount = 1, .pageCount = 1, .bitsPerComponent = 8,
                                                 .isFloatingPoint = false, .hasVideoTrack = false, .hasAudioTrack = true, .hasLayers = false}},
        {"layers live on in SVG",   {.hasLayers = true}, svg, {.hasLayers = true}},
        {"few bits are not raised", {.bitsPerComponent = 1}, jpeg, {.bitsPerComponent = 1}},
        {"the unknown stays so",    {}, jpeg, {}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(LossAnalysis::propagate(each.before, tiff, each.to), each.after);
    }
}

} // namespace
} // namespace nivex
