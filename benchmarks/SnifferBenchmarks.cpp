#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"

#include <benchmark/benchmark.h>

#include <span>
#include <string>
#include <string_view>

namespace nivex {
namespace {

constexpr std::size_t headLength = 4096;

/// `pattern` again and again until a head is full.
std::string filledWith(std::string_view opening, std::string_view pattern)
{
    std::string head{opening};
    while (head.size() < headLength)
        head.append(pattern);
    head.resize(headLength);
    return head;
}

void sniff(benchmark::State& state, const std::string& head)
{
    const auto bytes = std::as_bytes(std::span{head});
    for (auto step : state)
        benchmark::DoNotOptimize(SignatureSniffer::sniff(bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(head.size()));
}

// The first row, the last row and no row of the binary table; then texts, recognised early, late and not at all.
BENCHMARK_CAPTURE(sniff, png, filledWith("\x89PNG\r\n\x1A\n", std::string_view{"\0\1\2\3", 4}));
BENCHMARK_CAPTURE(sniff, program, filledWith("MZ", std::string_view{"\0\1\2\3", 4}));
BENCHMARK_CAPTURE(sniff, noise, filledWith("", std::string_view{"\x91\0\xF3\x07\xC8", 5}));
BENCHMARK_CAPTURE(sniff, subRip, filledWith("", "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n\n"));
BENCHMARK_CAPTURE(sniff, json, filledWith("[", "{\"name\": \"value\", \"list\": [1, 2.5, true]},\n"));
BENCHMARK_CAPTURE(sniff, cPlusPlus,
                  filledWith("#include <vector>\n", "    const auto found = std::ranges::find(a, b);\n"));
BENCHMARK_CAPTURE(sniff, prose,
                  filledWith("", "Longtemps, je me suis couché de bonne heure. Parfois, à peine éteinte,\n"));
BENCHMARK_CAPTURE(sniff, chineseProse, filledWith("", "道可道，非常道。名可名，非常名。\n"));
BENCHMARK_CAPTURE(sniff, latin1Prose, filledWith("", "Longtemps, je me suis couch\xE9 de bonne heure.\n"));

} // namespace
} // namespace nivex
