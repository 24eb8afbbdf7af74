#include "NivexKit/Workers/WorkerPool.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// A small input, and calls that ask the test worker for something to be done with it.
class Fixture {
public:
    nivex::WorkerCall call(const char* engine) const
    {
        nivex::WorkerCall result{.program = "hostile", .engine = engine};
        result.request.input = input_;
        result.request.workingDirectory = input_.parent_path();
        result.request.baseName = "output";
        result.request.targetFormat.extensions = {"txt"};
        return result;
    }

    nivex::WorkerPool pool{{.folders = {NIVEX_TEST_WORKERS_FOLDER}}};

private:
    nivex::testing::TemporaryFolder folder_;
    fs::path input_ = folder_.write("input", "hello");
};

/// What forking, sandboxing and asking a child cost, for work that costs nothing.
void workerJob(benchmark::State& state)
{
    Fixture fixture;
    const nivex::WorkerCall call = fixture.call("parent");
    fixture.pool.convert(call, {}, {});
    for (auto _ : state)
        benchmark::DoNotOptimize(fixture.pool.convert(call, {}, {}));
}
BENCHMARK(workerJob)->Unit(benchmark::kMillisecond)->UseRealTime();

/// From the flag of cancellation to the return of the call, the child being gone.
void workerCancellation(benchmark::State& state)
{
    Fixture fixture;
    const nivex::WorkerCall call = fixture.call("stay");
    for (auto _ : state) {
        nivex::CancellationFlag flag;
        std::chrono::steady_clock::time_point cancelled;
        try {
            fixture.pool.convert(
                call,
                [&](std::optional<double>) {
                    cancelled = std::chrono::steady_clock::now();
                    flag.set();
                },
                flag);
        } catch (const nivex::ConversionError&) {
        }
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - cancelled).count());
    }
}
BENCHMARK(workerCancellation)->Unit(benchmark::kMillisecond)->UseManualTime();

} // namespace
