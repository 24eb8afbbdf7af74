#include "NivexWorkers/Image/Codecs/Png/InflateWindow.hpp"

#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace nivex::image {
namespace {

constexpr std::array<std::byte, 2> wholeWindow = {std::byte{0x78}, std::byte{0xDA}};

std::optional<PngChunk> firstPixels(const ByteSource& png)
{
    PngChunks chunks{png};
    while (auto chunk = chunks.next())
        if (chunk->type == "IDAT")
            return chunk;
    return std::nullopt;
}

/// True for DEFLATE with a window of 256 bytes to 16 KiB.
bool isSmall(std::byte method) { return (method & std::byte{0x8F}) == std::byte{0x08} && method < std::byte{0x78}; }

} // namespace

bool namesSmallWindow(const ByteSource& png)
{
    const auto pixels = firstPixels(png);
    std::array<std::byte, 1> method{};
    return pixels && pixels->count > 0 && png.read(pixels->data(), method) == 1 && isSmall(method[0]);
}

void nameWholeWindow(std::span<std::byte> png)
{
    const MemorySource source{png};
    const auto pixels = namesSmallWindow(source) ? firstPixels(source) : std::nullopt;
    auto data = pixels ? checkedData(source, *pixels) : std::nullopt;
    if (!data || data->size() < wholeWindow.size())
        return;
    std::ranges::copy(wholeWindow, data->begin());
    const std::string chunk = pngChunk(pixels->type, {reinterpret_cast<const char*>(data->data()), data->size()});
    std::ranges::copy(std::as_bytes(std::span{chunk}), png.begin() + static_cast<std::ptrdiff_t>(pixels->offset));
}

} // namespace nivex::image
