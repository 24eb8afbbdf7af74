#include "NivexKit/Contract/OptionCombinations.hpp"
#include "NivexKit/Engines/Image/NativeImageEngine.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;
using Loss = ConversionLoss;

const FormatRegistry& registry() { return FormatRegistry::standard(); }
const FileFormat& format(const char* id) { return *registry().format(FormatID{id}); }

class NativeImageEngineTest : public ::testing::Test {
protected:
    Loss losses(const char* source, const SourceProperties& properties, const char* target,
                const ConversionOptions& options = {}) const
    {
        return engine.expectedLosses(format(source), properties, format(target), options);
    }
    const EngineCapability* edge(const char* source, const char* target) const
    {
        const auto edges = engine.capabilities();
        const auto found = std::ranges::find_if(
            edges, [&](const auto& each) { return each.source == source && each.target == target; });
        return found == edges.end() ? nullptr : &*found;
    }

    std::shared_ptr<WorkerPool> pool = std::make_shared<WorkerPool>(WorkerPool::Settings{});
    NativeImageEngine engine{registry(), pool};
};

TEST_F(NativeImageEngineTest, makesAFileOfEachPageSaveInTiff)
{
    EngineRequest request;
    request.sourceFormat = format("pdf");
    request.properties.pageCount = 1; // as announced, which need not be true
    request.targetFormat = format("png");
    EXPECT_EQ(engine.expectedOutputs(request).maxFiles, request.limits.maxPDFPages);
    request.targetFormat = format("tiff");
    EXPECT_EQ(engine.expectedOutputs(request).maxFiles, 1);
    ASSERT_TRUE(edge("pdf", "png"));
    EXPECT_TRUE(edge("pdf", "png")->options.contains(Kind::renderResolution));
    EXPECT_FALSE(edge("pdf", "png")->options.contains(Kind::metadata));
}

struct LossCase {
    const char* name;
    const char* source;
    SourceProperties properties;
    const char* target;
    Loss expected;
};

TEST_F(NativeImageEngineTest, announcesWhatTheWorkLoses)
{
    const SourceProperties deep{.bitsPerComponent = 16};
    const SourceProperties floating{.bitsPerComponent = 32, .isFloatingPoint = true};
    const SourceProperties several{.imageCount = 3};
    const SourceProperties wide{.pixelWidth = 300, .pixelHeight = 20'000};
    const LossCase cases[] = {
        {"nothing", "png", {.hasAlpha = true}, "tiff", {}},
        {"alpha to none", "png", {.hasAlpha = true}, "jpeg", Loss::transparency | Loss::compression},
        {"a depth that the traits do not promise", "png", deep, "jp2", Loss::compression},
        {"a depth that both keep", "tiff", deep, "png", {}},
        {"a depth that is lost", "png", deep, "webp", Loss::compression | Loss::colorDepth},
        {"a depth of which some is lost", "png", deep, "heic", Loss::compression | Loss::colorDepth},
        {"the depth that an encoder keeps", "avif", {.bitsPerComponent = 10}, "heic", Loss::compression},
        {"two bits too deep", "avif", {.bitsPerComponent = 12}, "heic", Loss::compression | Loss::colorDepth},
        {"whole numbers deeper than any reader keeps", "tiff", {.bitsPerComponent = 32}, "png", Loss::colorDepth},
        {"floating point to whole numbers", "tiff", floating, "png", Loss::colorDepth},
        {"floating point to floating point", "hdr", floating, "tiff", {}},
        {"no blocks for what a file says", "jpeg", {}, "hdr", Loss::metadata},
        {"more than TIFF's metadata go with",
         "jxl",
         {.pixelWidth = 20'000, .pixelHeight = 18'000, .isFloatingPoint = true},
         "tiff",
         Loss::metadata},
        {"nothing to say", "gif", {}, "hdr", {}},
        {"pages to pages", "tiff", several, "heic", Loss::compression},
        {"pages to an animation, which is none", "tiff", several, "gif",
         Loss::pages | Loss::colorPalette | Loss::metadata},
        {"pages to one", "tiff", {.pageCount = 2}, "png", Loss::pages},
        {"animation to animation", "gif", several, "webp", Loss::compression},
        {"animation to pages", "gif", several, "tiff", Loss::animation},
        {"animation to a document", "webp", several, "pdf", Loss::animation | Loss::compression},
        {"an animated PNG to an animation", "png", several, "gif", Loss::colorPalette | Loss::metadata},
        {"an animation to PNG", "gif", several, "png", {}},
        {"an animation to pictures of HEIF", "gif", several, "heif", Loss::animation | Loss::compression},
        {"stills to pages", "avif", several, "tiff", {}},
        {"stills beside a sequence", "avif", {.imageCount = 3, .durationSeconds = 0.3}, "tiff", Loss::animation},
        {"pages as files of their own", "pdf", {.pageCount = 3}, "png", Loss::rasterization},
        {"a page's layers", "pdf", {.hasLayers = true}, "jpeg", Loss::rasterization | Loss::layers | Loss::compression},
        {"a photograph's own data on a page", "jpeg", {}, "pdf", {}},
        {"what is stored without loss on a page", "png", {}, "pdf", {}},
        {"what is stored with loss on a page", "webp", {}, "pdf", Loss::compression},
        {"light whose header does not say so", "hdr", {.bitsPerComponent = 8}, "png", Loss::colorDepth},
        {"sizes to sizes", "ico", several, "icns", {}},
        {"sizes to pages", "icns", several, "tiff", {}},
        {"sizes to one", "ico", several, "png", Loss::pages},
        {"longer than the format's longest side", "png", wide, "webp", Loss::compression | Loss::resolution},
        {"long but not too long", "png", wide, "jpeg", Loss::compression},
        {"an icon of a photograph",
         "jpeg",
         {.pixelWidth = 4000, .pixelHeight = 257},
         "ico",
         Loss::resolution | Loss::metadata},
        {"alpha that may be there", "astc", {}, "hdr", Loss::transparency},
        {"alpha that is not there", "astc", {.hasAlpha = false}, "hdr", {}},
        {"layers that may be there", "psd", {}, "tiff", Loss::layers},
        {"layers that are not there", "psb", {.hasLayers = false}, "png", {}},
        {"layers between formats that both have them", "tiff", {.hasLayers = true}, "psd", Loss::layers},
        {"a camera's sensor",
         "nef",
         {.bitsPerComponent = 14},
         "jpeg",
         Loss::rawDevelopment | Loss::colorDepth | Loss::compression},
        {"a sensor whose depth is unknown",
         "cr3",
         {},
         "webp",
         Loss::rawDevelopment | Loss::colorDepth | Loss::compression},
        {"a place on the map", "geotiff", several, "tiff", Loss::metadata},
        {"into itself", "jpeg", {.pixelWidth = 10, .pixelHeight = 10}, "jpeg", Loss::compression},
    };
    for (const LossCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(losses(each.source, each.properties, each.target).names(), each.expected.names());
    }
}

TEST_F(NativeImageEngineTest, losesAsTheOptionsHaveIt)
{
    const SourceProperties large{.pixelWidth = 4'000, .pixelHeight = 3'000};
    const Loss shrunk = Loss::compression | Loss::resolution;
    const struct {
        const char* name;
        const char* source;
        SourceProperties properties;
        const char* target;
        ConversionOptions options;
        Loss expected;
    } cases[] = {
        {"every bit at full quality", "png", {}, "webp", {.quality = 1}, {}},
        {"an encoder that has no such quality", "png", {}, "jpeg", {.quality = 1}, Loss::compression},
        {"full quality that a size may take back",
         "png",
         large,
         "avif",
         {.quality = 1, .maxFileBytes = 6'000'000},
         Loss::compression},
        {"a byte too few to keep all pixels", "png", large, "avif", {.maxFileBytes = 5'999'999}, shrunk},
        {"fewer pixels are asked for already",
         "png",
         large,
         "avif",
         {.maxPixelDimension = 2'000, .maxFileBytes = 1'500'000},
         Loss::compression},
        {"a size for pixels that nobody counted", "png", {}, "jpeg", {.maxFileBytes = 1'000'000'000}, shrunk},
        {"a size that the target does not take", "jpeg", large, "tiff", {.maxFileBytes = 10'000}, {}},
        {"a photograph's data at the usual quality", "jpeg", {}, "pdf", {.quality = 0.85}, {}},
        {"a photograph encoded again", "jpeg", {}, "pdf", {.quality = 0.84}, Loss::compression},
        {"other colours for a photograph",
         "jpeg",
         {},
         "pdf",
         {.colorProfile = ColorProfilePolicy::sRGB},
         Loss::compression},
        {"fewer pixels of a photograph", "jpeg", large, "pdf", {.maxPixelDimension = 3'999}, Loss::compression},
        {"no fewer pixels", "jpeg", large, "pdf", {.maxPixelDimension = 4'000}, {}},
        {"other colours without loss", "png", {}, "pdf", {.colorProfile = ColorProfilePolicy::sRGB}, {}},
        {"less asked of what is exact", "png", {}, "pdf", {.quality = 0.5}, Loss::compression},
        {"a page below a size", "png", large, "pdf", {.maxFileBytes = 50'000'000}, Loss::compression},
        {"a page at full quality", "heic", {}, "pdf", {.quality = 1}, {}},
        {"smaller than the format allows, as asked", "gif", large, "ico", {.maxPixelDimension = 256}, {}},
        {"larger than the format allows", "gif", large, "ico", {.maxPixelDimension = 257}, Loss::resolution},
        {"no metadata are wanted", "jpeg", {}, "hdr", {.metadata = MetadataPolicy::removeAll}, {}},
        {"only the place is unwanted", "jpeg", {}, "hdr", {.metadata = MetadataPolicy::removeLocation}, Loss::metadata},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(losses(each.source, each.properties, each.target, each.options).names(), each.expected.names());
    }
}

TEST_F(NativeImageEngineTest, edgeMayLoseWhateverItsWorstFileLoses)
{
    SourceProperties worst{.pixelWidth = 1'000'000, .hasAlpha = true, .bitsPerComponent = 16, .hasLayers = true};
    for (const EngineCapability& each : engine.capabilities()) {
        SCOPED_TRACE(each.source.rawValue + " to " + each.target.rawValue);
        const FileFormat& source = *registry().format(each.source);
        const FileFormat& target = *registry().format(each.target);
        EXPECT_TRUE(each.potentialLosses.contains(engine.expectedLosses(source, {}, target, {})));
        worst.hasAlpha = source.has(FormatTrait::transparency);
        EXPECT_EQ(each.potentialLosses.contains(Loss::transparency),
                  engine.expectedLosses(source, worst, target, {}).contains(Loss::transparency));
    }
    ASSERT_TRUE(edge("png", "jpeg"));
    EXPECT_TRUE(edge("png", "jpeg")->potentialLosses.contains(Loss::animation | Loss::transparency | Loss::colorDepth));
}

TEST_F(NativeImageEngineTest, edgesOfferWhatTheWorkHonours)
{
    ASSERT_TRUE(edge("png", "jpeg"));
    EXPECT_EQ(edge("png", "jpeg")->options,
              (ConversionOptionKinds{Kind::quality, Kind::metadata, Kind::colorProfile, Kind::dimensions,
                                     Kind::background, Kind::targetSize}));
    ASSERT_TRUE(edge("jpeg", "png"));
    EXPECT_EQ(edge("jpeg", "png")->options,
              (ConversionOptionKinds{Kind::metadata, Kind::colorProfile, Kind::dimensions}));
    ASSERT_TRUE(edge("gif", "hdr"));
    EXPECT_EQ(edge("gif", "hdr")->options, (ConversionOptionKinds{Kind::dimensions, Kind::background}));
    for (const EngineCapability& each : engine.capabilities())
        EXPECT_FALSE(each.options.contains(Kind::removeBackground));
}

TEST_F(NativeImageEngineTest, aPersonIsToldOfInksWhatTheWorkDoesWithThem)
{
    for (const FileFormat& each : registry().formats()) {
        const PictureFormat* const row = pictureFormat(each.id.rawValue);
        EXPECT_EQ(isTaken(OptionCombination::cmyk, each), row && row->written && row->written->hasCmyk)
            << each.id.rawValue;
    }
}

TEST_F(NativeImageEngineTest, noStepFollowsAnAnimationThatPlannersDoNotSee)
{
    EXPECT_TRUE(edge("gif", "png")->isTerminal) << "a detour over PNG would lose the animation without a word";
    EXPECT_FALSE(edge("gif", "webp")->isTerminal);
    EXPECT_FALSE(edge("jpeg", "png")->isTerminal);
}

TEST_F(NativeImageEngineTest, readsMapsAndWritesNone)
{
    EXPECT_TRUE(edge("geotiff", "png"));
    EXPECT_FALSE(edge("png", "geotiff"));
    EXPECT_FALSE(edge("png", "png"));
}

TEST_F(NativeImageEngineTest, narrowerRegistryMeansFewerEdges)
{
    const FormatRegistry few{{format("png"), format("jpeg"), format("mp3")}};
    EXPECT_EQ(NativeImageEngine(few, pool).capabilities().size(), 2U);
}

} // namespace
} // namespace nivex
