#include "NivexKit/Engines/Catalog/WorkerProbe.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace nivex::testing {
namespace {

const FormatRegistry& registry() { return FormatRegistry::standard(); }

/// Asks the hostile program, whose probe tells the file's size as its width.
ProbeReport probed(WorkerProbe::Row row, const std::filesystem::path& file, SourceProperties& properties)
{
    WorkerPool::Settings settings;
    settings.folders = {NIVEX_TEST_WORKERS_FOLDER};
    const WorkerProbe probe{std::move(row), registry(), ResourceLimits::standard(),
                            std::make_shared<WorkerPool>(std::move(settings))};
    const MemorySource source{{}};
    HeaderBytes bytes{source, {}};
    return probe.probe({.url = file, .format = "mp4", .bytes = bytes}, properties);
}

TEST(WorkerProbe, EntersWhatItsProgramFound)
{
    TemporaryFolder folder;
    const auto file = folder.write("film.mp4", "12345");
    SourceProperties properties{.pixelWidth = 1, .durationSeconds = 2.0};
    EXPECT_TRUE(probed({.program = "hostile", .engine = "size"}, file, properties).isConfirmed);
    EXPECT_EQ(properties, (SourceProperties{.pixelWidth = 5, .durationSeconds = 2.0}));

    const auto keep = [](const SourceProperties&, SourceProperties& known) { known.pageCount = 9; };
    properties = {.pixelWidth = 1};
    EXPECT_TRUE(probed({.program = "hostile", .engine = "size", .enter = keep}, file, properties).isConfirmed);
    EXPECT_EQ(properties, (SourceProperties{.pixelWidth = 1, .pageCount = 9}));
}

TEST(WorkerProbe, SaysOfAFileOnlyWhatItsProgramFoundInIt)
{
    TemporaryFolder folder;
    const auto file = folder.write("film.mp4", "12345");
    const auto issueOf = [&](const char* program, const char* engine) {
        SourceProperties properties;
        const ProbeReport report = probed({.program = program, .engine = engine}, file, properties);
        EXPECT_FALSE(report.isConfirmed);
        return report.issue;
    };
    EXPECT_EQ(issueOf("missing", "size"), std::nullopt) << "a missing program is no fault of the file";
    EXPECT_EQ(issueOf("hostile", "damaged"), DetectionIssue::corrupted("la fin manque"));
    EXPECT_EQ(issueOf("hostile", "too much"), DetectionIssue::unreadable("trop de pages"));
    EXPECT_EQ(issueOf("hostile", "locked"), DetectionIssue::encrypted());
    EXPECT_EQ(issueOf("hostile", "cannot"), std::nullopt);
}

} // namespace
} // namespace nivex::testing
