#include "NivexKit/Engines/Subtitle/SubtitleEngine.hpp"
#include "NivexKit/Engines/Subtitle/Subtitles.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/TextDecoder.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>

using namespace nivex;

namespace {

/// A SubRip file of so many cues, a third of them with tags and two lines, with French letters.
std::string subRip(std::int64_t count)
{
    std::string file;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::string text = i % 3 == 0 ? "<i>Où êtes-vous allée, Hélène ?</i>\nNon, j’attends le jour & la nuit."
                                            : "Là-bas, près du château d’eau, réplique " + std::to_string(i) + ".";
        Subtitles::appendSRT(file, static_cast<std::size_t>(i), {i * 2500, i * 2500 + 2000, text});
    }
    return file;
}

void decodeText(benchmark::State& state)
{
    const std::string file = subRip(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(decodedText(file));
    state.SetBytesProcessed(static_cast<std::int64_t>(file.size()) * state.iterations());
}

void readSubRip(benchmark::State& state)
{
    const std::string file = subRip(state.range(0));
    for ([[maybe_unused]] auto _ : state)
        Subtitles::readSRT(file, [](SubtitleCue& cue) { benchmark::DoNotOptimize(cue); });
    state.SetItemsProcessed(state.range(0) * state.iterations());
}

/// The whole engine, files included.
void convertSubRipToWebVTT(benchmark::State& state)
{
    std::string folder = (std::filesystem::temp_directory_path() / "nivex-bench-XXXXXX").string();
    if (!::mkdtemp(folder.data()))
        return state.SkipWithError("no temporary folder");
    const FormatRegistry& registry = FormatRegistry::standard();
    const SubtitleEngine engine{registry};
    const EngineRequest request{.input = std::filesystem::path{folder} / "in.srt",
                                .sourceFormat = *registry.format("srt"),
                                .targetFormat = *registry.format("vtt"),
                                .options = {},
                                .workingDirectory = folder,
                                .baseName = "out",
                                .limits = {}};
    writeNewFile(request.input, subRip(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        std::filesystem::remove(request.outputLocation());
        engine.convert(request, {}, CancellationFlag{});
    }
    std::filesystem::remove_all(folder);
    state.SetItemsProcessed(state.range(0) * state.iterations());
}

BENCHMARK(decodeText)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(readSubRip)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(convertSubRipToWebVTT)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

} // namespace
