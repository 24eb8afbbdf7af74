#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"

#include "tests/Fuzz/BitmapRows.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::image::decodeIcons(nivex::image::openIco, data, size);
}
