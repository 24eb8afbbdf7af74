#include "NivexWorkers/Image/Codecs/Texture.hpp"

#include <cstdlib>
#include <limits>

namespace nivex::image {

template <class Sample>
void Texture::addRow(std::span<const Sample> row, std::size_t bandCount)
{
    // Differences are counted twice: from the sum of the neighbours, not their mean.
    constexpr int step = 2 * (std::numeric_limits<Sample>::max() / 255);
    constexpr int sharp = 32 * step;
    const std::span<const Sample> samples = row.subspan(bandCount > 2 ? 1 : 0);
    const std::size_t width = row.size() / bandCount;
    std::uint64_t sum = 0;
    std::size_t flatCount = 0;
    std::size_t sharpCount = 0;
    for (std::size_t x = 2; x < width; ++x) {
        const int before = samples[(x - 2) * bandCount];
        const int after = samples[x * bandCount];
        const int difference = std::abs(2 * samples[(x - 1) * bandCount] - before - after);
        sum += static_cast<unsigned>(difference);
        flatCount += difference < step / 2 ? 1 : 0;
        sharpCount += difference > sharp ? 1 : 0;
    }
    count_ += width > 2 ? static_cast<double>(width - 2) : 0;
    differences_ += static_cast<double>(sum) / step;
    flat_ += static_cast<double>(flatCount);
    sharp_ += static_cast<double>(sharpCount);
}

void Texture::add(std::span<const std::uint8_t> row, std::size_t bandCount) { addRow(row, bandCount); }

void Texture::add(std::span<const std::uint16_t> row, std::size_t bandCount) { addRow(row, bandCount); }

} // namespace nivex::image
