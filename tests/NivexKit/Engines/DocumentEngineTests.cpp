#include "NivexKit/Engines/Document/DocumentEngine.hpp"

namespace nivex::testing {
namespace {

const FormatRegistry& registry() { return FormatRegistry::standard(); }

TEST(DocumentEngine, announcesWhatATargetCannotHold)
{
    const DocumentEngine engine{registry(), std::make_shared<WorkerPool>(WorkerPool::Settings{})};
    const ConversionLoss both = ConversionLoss::formatting | ConversionLoss::layout;
    const auto losses = [&](const char* from, const char* to) {
        return engine.expectedLosses(*registry().format(from), {}, *registry().format(to), {});
    };
    EXPECT_EQ(losses("txt", "docx"), ConversionLoss{});
    EXPECT_EQ(losses("md", "html"), ConversionLoss{});
    EXPECT_EQ(losses("md", "txt"), both);
    EXPECT_EQ(losses("docx", "html"), both) << "fonts and colours";
    for (const EngineCapability& edge : engine.capabilities()) {
        EXPECT_NE(edge.source, edge.target);
        EXPECT_EQ(edge.potentialLosses, losses(edge.source.rawValue.c_str(), edge.target.rawValue.c_str()));
    }
}

} // namespace
} // namespace nivex::testing
