#include "NivexKit/Execution/History/HistoryFile.hpp"
#include "NivexKit/Execution/History/HistoryStore.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace nivex;
namespace fs = std::filesystem;

HistoryEntry entry(std::size_t number)
{
    const std::string name = "Photo de vacances été " + std::to_string(number);
    const std::string folder = "/home/marie/Images/2026/Vacances/";
    return {.id = Uuid::random(),
            .date = HistoryStore::systemClock(),
            .sourceName = name + ".heic",
            .sourcePath = folder + name + ".heic",
            .sourceFormat = "heic",
            .targetFormat = "jpeg",
            .outputPaths = {folder + name + ".jpg"},
            .outputBytes = 1'234'567,
            .status = HistoryEntry::Status::succeeded,
            .message = {}};
}

/// A full history in a folder of its own, removed at the end.
struct FullHistory {
    FullHistory() : folder{fs::temp_directory_path() / ("nivex-bench-history-" + std::to_string(::getpid()))}
    {
        fs::create_directories(folder);
        std::vector<HistoryEntry> entries;
        for (std::size_t i = 0; i < HistoryStore::maxEntries; ++i)
            entries.push_back(entry(i));
        std::ofstream{file()} << historyText(entries);
    }
    ~FullHistory() { fs::remove_all(folder); }
    fs::path file() const { return folder / "History.json"; }

    fs::path folder;
};

void loadFullHistory(benchmark::State& state)
{
    const FullHistory full;
    for (auto _ : state)
        benchmark::DoNotOptimize(HistoryStore{full.file(), HistoryRetention::forever});
}
BENCHMARK(loadFullHistory)->Unit(benchmark::kMillisecond);

void recordIntoFullHistory(benchmark::State& state)
{
    const FullHistory full;
    HistoryStore store{full.file(), HistoryRetention::forever};
    for (auto _ : state)
        store.record(entry(0));
}
BENCHMARK(recordIntoFullHistory)->Unit(benchmark::kMillisecond)->UseRealTime();

void recordAfterAnotherProcess(benchmark::State& state)
{
    const FullHistory full;
    HistoryStore ours{full.file(), HistoryRetention::forever};
    HistoryStore theirs{full.file(), HistoryRetention::forever};
    for (auto _ : state) {
        ours.record(entry(0));
        state.PauseTiming();
        theirs.record(entry(1));
        state.ResumeTiming();
    }
}
BENCHMARK(recordAfterAnotherProcess)->Unit(benchmark::kMillisecond)->UseRealTime();

void importRecipe(benchmark::State& state)
{
    ConversionRecipe recipe = ConversionRecipe::make("Tout", {});
    for (const RecipeBlockKind kind : allBlockKinds())
        recipe.steps.push_back(initialStep(kind));
    const std::string data = recipe.exportData();
    for (auto _ : state)
        benchmark::DoNotOptimize(ConversionRecipe::importData(data));
}
BENCHMARK(importRecipe)->Unit(benchmark::kMicrosecond);

} // namespace
