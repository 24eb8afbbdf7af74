#include "NivexKit/Engines/Data/DataEngine.hpp"
#include "NivexKit/Engines/Data/DataFormats.hpp"

namespace nivex {
namespace {

const FormatRegistry& registry() { return FormatRegistry::standard(); }

const FileFormat& format(std::string_view id) { return *registry().format(FormatID{id}); }

DataEngine engine() { return DataEngine{registry(), std::make_shared<WorkerPool>(WorkerPool::Settings{})}; }

/// The warnings rest on these, and so does the choice between routes.
TEST(DataEngine, announcesWhatNestedDataLoseInTables)
{
    struct LossCase {
        std::string_view source;
        std::string_view target;
        ConversionLoss expected;
    };
    const LossCase cases[] = {
        {"csv", "tsv", {}},
        {"csv", "json", {}},
        {"json", "csv", ConversionLoss::structure},
        {"json", "yaml", {}},
        {"json", "plist", ConversionLoss::structure},
        {"yaml", "plist", {}},
        {"yaml", "xlsx", ConversionLoss::structure},
        {"plist", "yaml", {}},
        {"plist", "json", ConversionLoss::structure},
        {"plist", "csv", ConversionLoss::structure},
        {"xlsx", "csv", ConversionLoss::formulas | ConversionLoss::formatting},
        {"xlsx", "json", ConversionLoss::formulas | ConversionLoss::formatting},
    };
    const DataEngine data = engine();
    for (const LossCase& each : cases) {
        if (!dataFormat(each.source) || !dataFormat(each.target))
            continue;
        SCOPED_TRACE(std::string{each.source} + " to " + std::string{each.target});
        EXPECT_EQ(data.expectedLosses(format(each.source), {}, format(each.target), {}), each.expected);
    }
}

TEST(DataEngine, everyEdgeLosesWhatItMayLose)
{
    const DataEngine data = engine();
    EXPECT_FALSE(data.capabilities().empty());
    for (const EngineCapability& edge : data.capabilities()) {
        EXPECT_NE(edge.source, edge.target);
        EXPECT_EQ(edge.potentialLosses,
                  data.expectedLosses(*registry().format(edge.source), {}, *registry().format(edge.target), {}));
    }
}

TEST(DataEngine, aNarrowerRegistryYieldsFewerEdges)
{
    const FormatRegistry narrow{{format("csv"), format("json"), format("png")}};
    const DataEngine data{narrow, std::make_shared<WorkerPool>(WorkerPool::Settings{})};
    EXPECT_EQ(data.capabilities().size(), 2u);
}

} // namespace
} // namespace nivex
