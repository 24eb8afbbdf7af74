#include "NivexKit/Detection/FileDetector.hpp"
#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"
#include "NivexKit/Engines/Image/OptimizationEngine.hpp"
#include "NivexKit/Engines/Image/PictureShrinker.hpp"
#include "tests/Support/TemporaryFolder.hpp"

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

TEST(OptimizationEngine, shrinksPicturesInTheirOwnFormat)
{
    const OptimizationEngine engine{registry(), poolOf()};
    EXPECT_FALSE(engine.availability().isAvailable());
    std::vector<std::string> formats;
    for (const EngineCapability& each : engine.capabilities()) {
        EXPECT_EQ(each.source, each.target);
        EXPECT_TRUE(each.options.contains(ConversionOptionKind::targetSize));
        EXPECT_TRUE(each.refused.contains(ConversionOptionKind::removeBackground));
        formats.push_back(each.source.rawValue);
    }
    EXPECT_THAT(formats, ::testing::ElementsAre("jpeg", "heic", "avif", "jp2"));
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
}

TEST(PictureShrinker, asksOnlyForTheSizeOfFilesThatAreTooLarge)
{
    TemporaryFolder folder;
    fs::create_directory(folder / "workers");
    fs::create_symlink(fs::path{NIVEX_TEST_WORKERS_FOLDER} / "nivex-worker-hostile",
                       folder / "workers/nivex-worker-image"); // which copies its input
    const std::vector<fs::path> files = {folder.write("a/page.jpg", std::string(100, 'a')),
                                         folder.write("b/page.jpg", "b"),
                                         folder.write("c/page.jpg", std::string(200, 'c'))};
    EngineRequest request;
    request.sourceFormat = request.targetFormat = *registry().format("jpeg");
    request.options.maxFileBytes = 99;
    request.workingDirectory = folder / "work";
    fs::create_directory(request.workingDirectory);

    const auto results = PictureShrinker{poolOf(folder / "workers")}.shrinkToBudget(files, request, {});
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[1], files[1]) << "small enough, and yet encoded again";
    EXPECT_EQ(contentsOf(results[0]), std::string(100, 'a'));
    EXPECT_EQ(contentsOf(results[2]), std::string(200, 'c')) << "two files of one name";
    for (const fs::path& result : {results[0], results[2]}) {
        EXPECT_EQ(result.filename(), "page.jpg");
        EXPECT_TRUE(result.native().starts_with(request.workingDirectory.native()));
    }
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
