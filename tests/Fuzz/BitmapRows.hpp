#pragma once

#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>

namespace nivex::image {

inline void decodeRows(const Bitmap& bitmap)
{
    std::vector<std::byte> row(bitmap.rowBytes());
    for (int y = bitmap.height - 1; y >= 0; --y)
        bitmap.readRow(y, row);
}

/// Opens any bytes as a picture and decodes every row of it. The size limit keeps one input short.
template <typename Opener>
int decodeRows(Opener open, const std::uint8_t* data, std::size_t size)
{
    const auto file = std::make_shared<MemorySource>(std::span{reinterpret_cast<const std::byte*>(data), size});
    try {
        decodeRows(open(file, ResourceLimits{.maxImagePixels = 65'000}));
    } catch (const ConversionError&) {
    }
    return 0;
}

/// The same for files of icons, all of whose pixels are decoded.
template <typename Opener>
int decodeIcons(Opener open, const std::uint8_t* data, std::size_t size)
{
    const auto file = std::make_shared<MemorySource>(std::span{reinterpret_cast<const std::byte*>(data), size});
    try {
        for (const auto& icon : open(file, ResourceLimits{.maxImagePixels = 50'000'000}))
            if (icon.bitmap && std::int64_t{icon.width} * icon.height <= 65'000)
                decodeRows(icon.bitmap());
    } catch (const ConversionError&) {
    }
    return 0;
}

} // namespace nivex::image
