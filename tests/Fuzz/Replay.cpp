// Feeds a fuzz target with its seeds and with mutations of them. The mutations come from a fixed seed number: the same
// inputs on every run and machine.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr int mutationsPerSeed = 400;

std::vector<Input> seedsIn(const std::filesystem::path& folder)
{
    std::vector<Input> seeds;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{folder}) {
        std::ifstream file{entry.path(), std::ios::binary};
        seeds.emplace_back(std::istreambuf_iterator<char>{file}, std::istreambuf_iterator<char>{});
    }
    return seeds;
}

/// Changes, cuts, repeats or inserts bytes at a few random places.
Input mutated(Input input, std::mt19937& random)
{
    const auto below = [&random](std::size_t bound) { return static_cast<std::size_t>(random()) % (bound + 1); };
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
        const auto at = static_cast<std::ptrdiff_t>(below(input.size()));
        const auto length = static_cast<std::ptrdiff_t>(below(16));
        const auto left = static_cast<std::ptrdiff_t>(input.size()) - at;
        switch (below(4)) {
        case 0:
            if (left > 0)
                input[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(random());
            break;
        case 1:
            input.insert(input.begin() + at, static_cast<std::size_t>(length), static_cast<std::uint8_t>(random()));
            break;
        case 2:
            input.erase(input.begin() + at, input.begin() + at + std::min(length, left));
            break;
        case 3:
            for (std::ptrdiff_t i = 0; i < std::min<std::ptrdiff_t>(4, left); ++i)
                input[static_cast<std::size_t>(at + i)] = 0xFF;
            break;
        default:
            input.resize(static_cast<std::size_t>(at));
        }
    }
    return input;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::fputs("usage: fuzz-replay-NAME SEED-FOLDER\n", stderr);
        return 2;
    }
    const std::vector<Input> seeds = seedsIn(arguments[1]);
    if (seeds.empty()) {
        std::fputs("no seed to replay\n", stderr);
        return 1;
    }
    std::mt19937 random{20'240'229};
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const Input& seed : seeds) {
        LLVMFuzzerTestOneInput(seed.data(), seed.size());
        for (int i = 0; i < mutationsPerSeed; ++i) {
            const Input input = mutated(seed, random);
            LLVMFuzzerTestOneInput(input.data(), input.size());
        }
    }
    std::printf("%zu seeds, %zu inputs, no finding\n", seeds.size(), 1 + seeds.size() * (1 + mutationsPerSeed));
}
