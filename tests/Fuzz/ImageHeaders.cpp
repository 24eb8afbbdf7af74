#include "NivexKit/Detection/Images/ImageHeader.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// Every reader takes any bytes: the first one chooses the format, the others are the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto formats = nivex::formatsWithImageHeader();
    if (size == 0)
        return 0;
    const std::span file{reinterpret_cast<const std::byte*>(data) + 1, size - 1};
    const nivex::MemorySource source{file};
    nivex::HeaderBytes bytes{source, file.first(std::min<std::size_t>(file.size(), 16))};
    nivex::SourceProperties image;
    nivex::readImageHeader(formats[data[0] % formats.size()], bytes, image);
    return 0;
}
