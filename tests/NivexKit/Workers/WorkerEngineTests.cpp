#include "NivexKit/Workers/WorkerEngine.hpp"
#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

namespace nivex::testing {
namespace {

class CopyingEngine final : public WorkerEngine {
public:
    CopyingEngine(const char* program, const std::shared_ptr<WorkerPool>& pool)
        : WorkerEngine{{"copy", "Copie"_fr, program}, pool, {{.source = "txt", .target = "csv"}}}
    {
    }

    ConversionLoss expectedLosses(const FileFormat&, const SourceProperties&, const FileFormat&,
                                  const ConversionOptions&) const override
    {
        return {};
    }
};

TEST(WorkerEngine, HasItsWorkDoneByItsProgram)
{
    const auto pool = std::make_shared<WorkerPool>(HostileHouse::settings());
    const CopyingEngine engine{"hostile", pool};
    EXPECT_TRUE(engine.availability().isAvailable());
    EXPECT_TRUE(engine.capabilities().front().supportsCancellation);
    EXPECT_FALSE(CopyingEngine("absent", pool).availability().isAvailable());

    HostileHouse house;
    const EngineRequest request = house.call("copy").request;
    const auto outputs = engine.convert(request, {}, {});
    ASSERT_EQ(outputs, std::vector{request.outputLocation()});
    EXPECT_EQ(contentsOf(outputs.front()), "hello");
    CancellationFlag cancelled;
    cancelled.set();
    EXPECT_THROW(engine.convert(request, {}, cancelled), ConversionError);
}

} // namespace
} // namespace nivex::testing
