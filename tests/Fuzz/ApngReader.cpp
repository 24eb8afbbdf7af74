#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"

#include "NivexKit/Structures/PngChunks.hpp"
#include "tests/Fuzz/PictureReader.hpp"

#include <span>

/// The checksums are put right first, without which hardly a mutation would get past them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex::image;
    const std::string_view bytes{reinterpret_cast<const char*>(data), size};
    const nivex::MemorySource source{std::as_bytes(std::span{bytes})};
    std::string file{nivex::pngSignature};
    nivex::PngChunks chunks{source};
    while (const auto next = chunks.next())
        file += pngChunk(next->type, bytes.substr(next->data(), next->count));
    return readToTheLastPixel("png", reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
}
