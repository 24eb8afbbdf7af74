#include "NivexKit/Detection/FileDetector.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace nivex {
namespace {

namespace fs = std::filesystem;

/// A folder of small files of a few kinds, removed at the end of the program.
class MixedFolder {
public:
    MixedFolder()
    {
        std::string name = (fs::temp_directory_path() / "nivex-bench-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            std::abort();
        path_ = name;
        using namespace std::string_literals;
        const std::pair<std::string, std::string> kinds[] = {
            {".png",
             "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\x25\0\0\0\x15\x08\x06\0\0\0\0\0\0\0\0\0\0\0IEND\xAE\x42\x60\x82"s},
            {".srt", "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n"},
            {".txt", std::string(3000, 'a')},
            {".json", R"({"name": "value", "list": [1, 2, 3]})"},
            {".bmp",
             "BM"s + std::string(12, '\0') + "\x28\0\0\0\x25\0\0\0\x15\0\0\0\x01\0\x18\0"s + std::string(24, '\0')},
        };
        constexpr int filesPerKind = 200;
        for (int i = 0; i < filesPerKind; ++i)
            for (const auto& [extension, content] : kinds) {
                files_.push_back(path_ / (std::to_string(i) + extension));
                std::ofstream{files_.back(), std::ios::binary} << content;
            }
    }
    MixedFolder(const MixedFolder&) = delete;
    MixedFolder& operator=(const MixedFolder&) = delete;
    ~MixedFolder() { fs::remove_all(path_); }

    const std::vector<fs::path>& files() const { return files_; }

private:
    fs::path path_;
    std::vector<fs::path> files_;
};

void detectMixedFiles(benchmark::State& state)
{
    static const MixedFolder folder;
    const FileDetector detector;
    for (auto _ : state)
        benchmark::DoNotOptimize(detector.detect(folder.files()));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(folder.files().size()));
}
BENCHMARK(detectMixedFiles)->UseRealTime();

} // namespace
} // namespace nivex
