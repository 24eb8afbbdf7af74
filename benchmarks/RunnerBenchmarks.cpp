#include "NivexKit/Execution/ConversionRunner.hpp"
#include "tests/Support/ConversionScene.hpp"

#include <benchmark/benchmark.h>

namespace nivex {
namespace {

/// The runner's own cost for one job: workspace, checks and move around an engine that writes a few bytes.
void runOneJob(benchmark::State& state)
{
    const testing::ConversionScene scene;
    const ConversionRunner runner = scene.runner();
    const ConversionPlan plan = scene.plan({"srt", "vtt"});
    const std::filesystem::path input = scene.input();
    for (auto _ : state) {
        const ConversionOutcome outcome = runner.run({.plan = plan, .input = input}, {}, {});
        std::filesystem::remove(outcome.outputs.front());
    }
}
BENCHMARK(runOneJob)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
} // namespace nivex
