#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"
#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

const FormatRegistry& registry() { return FormatRegistry::standard(); }

/// A pool whose programs lie in one folder; without it there are none.
std::shared_ptr<WorkerPool> poolOf(const std::optional<fs::path>& folder = {})
{
    WorkerPool::Settings settings;
    if (folder)
        settings.folders = {*folder};
    return std::make_shared<WorkerPool>(std::move(settings));
}

TEST(OptimizationEngine, shrinksPicturesAndFilmsInTheirOwnFormat)
{
    const OptimizationEngine engine{registry(), poolOf()};
    EXPECT_FALSE(engine.availability().isAvailable());
    std::vector<std::string> formats;
    for (const EngineCapability& each : engine.capabilities()) {
        EXPECT_EQ(each.source, each.target);
        EXPECT_TRUE(each.options.contains(ConversionOptionKind::targetSize));
        const bool isPicture = each.options.contains(ConversionOptionKind::quality);
        EXPECT_EQ(each.refused.contains(ConversionOptionKind::removeBackground), isPicture);
        EXPECT_EQ(each.options.contains(ConversionOptionKind::videoQuality), !isPicture);
        formats.push_back(each.source.rawValue);
    }
    EXPECT_THAT(formats, ::testing::ElementsAre("jpeg", "heic", "avif", "jp2", "mp4", "mov", "m4v"));
}

TEST(OptimizationEngine, losesWhatEncodingIntoTheFormatLoses)
{
    const OptimizationEngine engine{registry(), poolOf()};
    const ConversionLoss both = ConversionLoss::compression | ConversionLoss::resolution;
    const auto losses = [&](const char* id, const SourceProperties& properties) {
        const FileFormat& format = *registry().format(id);
        return engine.expectedLosses(format, properties, format, {});
    };
    EXPECT_EQ(losses("heic", {.imageCount = 2}), both);
    EXPECT_EQ(losses("avif", {.imageCount = 2}), both | ConversionLoss::pages);
    EXPECT_EQ(losses("mp4", {.hasAudioTrack = true}), both);
}

TEST(EngineCatalog, detectsDeeplyWhatItsPictureEngineReads)
{
    const SourceProbes probes = EngineCatalog::deepProbes(registry(), ResourceLimits::standard(), poolOf());
    const FileDetector detector{registry(), ResourceLimits::standard(), probes};
    for (const char* read : {"png", "jpeg", "geotiff"})
        EXPECT_TRUE(detector.isReadableByImageIO(*registry().format(read))) << read;
    for (const char* unread : {"ktx2", "pdf", "mp3"})
        EXPECT_FALSE(detector.isReadableByImageIO(*registry().format(unread))) << unread;
}

} // namespace
} // namespace nivex::testing
