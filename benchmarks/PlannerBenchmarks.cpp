#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"
#include "tests/Support/FakeEngine.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

namespace nivex {
namespace {

/// Twelve engines over the whole catalogue, far more generous than real ones: each reads a quarter of the formats and
/// writes a twelfth, some ten thousand edges, so that every format is reached from every other.
EngineList denseEngines()
{
    const auto formats = FormatRegistry::standard().formats();
    EngineList engines;
    for (std::size_t e = 0; e < 12; ++e) {
        std::vector<EngineCapability> edges;
        for (std::size_t source = e % 4; source < formats.size(); source += 4)
            for (std::size_t target = e; target < formats.size(); target += 12)
                edges.push_back(testing::edge(formats[source].id, formats[target].id));
        auto engine = testing::fakeEngine("engine-" + std::to_string(e), std::move(edges));
        engine->losses = [](const FileFormat& source, const SourceProperties& properties, const FileFormat& target,
                            const ConversionOptions&) { return LossAnalysis::inherent(source, properties, target); };
        engines.push_back(std::move(engine));
    }
    return engines;
}

EngineList realEngines()
{
    static const auto pool = std::make_shared<WorkerPool>(WorkerPool::Settings::ofThisMachine());
    return EngineCatalog::standard(FormatRegistry::standard(), pool);
}

/// A file that has something to lose at every turn.
DetectionResult richFile(const FileFormat& format)
{
    return {.url = "/files/source",
            .format = format,
            .properties = {.pixelWidth = 4000,
                           .pixelHeight = 3000,
                           .hasAlpha = true,
                           .imageCount = 3,
                           .pageCount = 3,
                           .bitsPerComponent = 16,
                           .decoderTypeIdentifier = "public.some-type-identifier",
                           .hasVideoTrack = true,
                           .hasAudioTrack = true,
                           .hasLayers = true}};
}

void buildPlanner(benchmark::State& state, EngineList (*makeEngines)())
{
    for (auto _ : state) {
        const ConversionPlanner planner{makeEngines(), FormatRegistry::standard()};
        benchmark::DoNotOptimize(&planner);
    }
}
BENCHMARK_CAPTURE(buildPlanner, real, realEngines)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(buildPlanner, dense, denseEngines)->Unit(benchmark::kMicrosecond);

/// Plans for one format after the other. Told beside the mean: the slowest format, each by the best of its turns, as
/// the machine may be busy with something else.
void plansOfEveryFormat(benchmark::State& state, EngineList (*makeEngines)())
{
    using Clock = std::chrono::steady_clock;
    const ConversionPlanner planner{makeEngines(), FormatRegistry::standard()};
    std::vector<DetectionResult> files;
    for (const FileFormat& format : FormatRegistry::standard().formats())
        files.push_back(richFile(format));
    std::vector<Clock::duration> best(files.size(), Clock::duration::max());
    std::size_t plans = 0;
    std::size_t turn = 0;
    for (auto _ : state) {
        const std::size_t file = turn++ % files.size();
        const Clock::time_point start = Clock::now();
        plans += planner.plans(files[file]).size();
        best[file] = std::min(best[file], Clock::now() - start);
    }
    best.resize(std::min(turn, files.size()));
    const std::chrono::duration<double, std::micro> slowest = std::ranges::max(best);
    state.counters["edges"] = static_cast<double>(planner.graph().allEdges().size());
    state.counters["plansPerFile"] = static_cast<double>(plans) / static_cast<double>(turn);
    state.counters["slowest_us"] = slowest.count();
}
BENCHMARK_CAPTURE(plansOfEveryFormat, real, realEngines)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(plansOfEveryFormat, dense, denseEngines)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace nivex
