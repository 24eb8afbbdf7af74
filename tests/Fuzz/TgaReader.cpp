#include "tests/Fuzz/BitmapRows.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::image::decodeRows(nivex::image::openTga, data, size);
}
