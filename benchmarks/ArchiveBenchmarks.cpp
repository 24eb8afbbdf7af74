// The archive layer against the libraries that other programs use for the same, in one run on the same bytes.
#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <benchmark/benchmark.h>
#include <minizip/unzip.h>
#include <unistd.h>
#include <zip.h>
#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <random>

namespace nivex {
namespace {

using Bytes = std::vector<std::byte>;

constexpr int entryCount = 10'000;

/// An archive with that many empty entries in folders; it lasts as long as the program.
const std::filesystem::path& manyEntries()
{
    static const testing::TemporaryFolder folder;
    static const std::filesystem::path file = [] {
        ZipArchive::Writer writer;
        for (int i = 0; i < entryCount; ++i)
            writer.add("folder " + std::to_string(i % 100) + "/document number " + std::to_string(i) + ".txt", {},
                       false);
        const Bytes archive = writer.finish();
        return folder.write("many.zip", {reinterpret_cast<const char*>(archive.data()), archive.size()});
    }();
    return file;
}

/// Text of a limited vocabulary with some noise between: it shrinks to about a third.
Bytes mixedText(std::size_t size)
{
    std::mt19937 random{1};
    Bytes text;
    while (text.size() < size) {
        const auto word = random() % 2'000;
        for (const char each : std::to_string(word * 7'919) + (word % 11 == 0 ? "\n" : " "))
            text.push_back(static_cast<std::byte>(each));
        if (word % 50 == 0)
            for (int i = 0; i < 40; ++i)
                text.push_back(static_cast<std::byte>(random()));
    }
    text.resize(size);
    return text;
}

constexpr std::size_t textSize = 1 << 20;

Bytes deflated() { return *Deflate::process(Deflate::Direction::encode, mixedText(textSize), textSize); }

void listing(benchmark::State& state)
{
    for (auto _ : state) {
        const auto source = FileSource::open(manyEntries());
        benchmark::DoNotOptimize(ZipArchive::Reader::centralDirectory(*source));
    }
}
BENCHMARK(listing)->Name("Archive/list/nivex")->Unit(benchmark::kMicrosecond);

void listingWithLibzip(benchmark::State& state)
{
    for (auto _ : state) {
        zip_t* const archive = zip_open(manyEntries().c_str(), ZIP_RDONLY, nullptr);
        for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i)
            benchmark::DoNotOptimize(zip_get_name(archive, static_cast<zip_uint64_t>(i), 0));
        zip_discard(archive);
    }
}
BENCHMARK(listingWithLibzip)->Name("Archive/list/libzip")->Unit(benchmark::kMicrosecond);

void listingWithMinizip(benchmark::State& state)
{
    for (auto _ : state) {
        const unzFile archive = unzOpen64(manyEntries().c_str());
        for (int found = unzGoToFirstFile(archive); found == UNZ_OK; found = unzGoToNextFile(archive)) {
            char name[256];
            unzGetCurrentFileInfo64(archive, nullptr, name, sizeof name, nullptr, 0, nullptr, 0);
            benchmark::DoNotOptimize(name);
        }
        unzClose(archive);
    }
}
BENCHMARK(listingWithMinizip)->Name("Archive/list/minizip")->Unit(benchmark::kMicrosecond);

void inflating(benchmark::State& state)
{
    const Bytes data = deflated();
    for (auto _ : state)
        benchmark::DoNotOptimize(Deflate::decompress(data, textSize));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(textSize));
}
BENCHMARK(inflating)->Name("Archive/inflate/nivex");

void inflatingWithZlib(benchmark::State& state)
{
    const Bytes data = deflated();
    for (auto _ : state) {
        Bytes output(textSize);
        z_stream stream{};
        inflateInit2(&stream, -MAX_WBITS);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(data.data()));
        stream.avail_in = static_cast<uInt>(data.size());
        stream.next_out = reinterpret_cast<Bytef*>(output.data());
        stream.avail_out = static_cast<uInt>(output.size());
        if (inflate(&stream, Z_FINISH) != Z_STREAM_END)
            std::abort();
        inflateEnd(&stream);
        benchmark::DoNotOptimize(output);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(textSize));
}
BENCHMARK(inflatingWithZlib)->Name("Archive/inflate/zlib");

void deflating(benchmark::State& state)
{
    const Bytes text = mixedText(textSize);
    for (auto _ : state)
        benchmark::DoNotOptimize(Deflate::process(Deflate::Direction::encode, text, textSize));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(textSize));
}
BENCHMARK(deflating)->Name("Archive/deflate/nivex");

void checksum(benchmark::State& state)
{
    const Bytes text = mixedText(textSize);
    for (auto _ : state)
        benchmark::DoNotOptimize(CRC32::checksum(text));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(textSize));
}
BENCHMARK(checksum)->Name("Archive/crc32/nivex");

} // namespace
} // namespace nivex
