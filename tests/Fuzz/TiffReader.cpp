#include "tests/Fuzz/PictureReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::image::readToTheLastPixel("tiff", data, size);
}
