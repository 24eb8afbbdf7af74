#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/PngChunks.hpp"

namespace nivex {
namespace {

bool readHeaderChunk(HeaderBytes& file, std::uint64_t data, SourceProperties& image)
{
    ByteReader chunk = file.reader(data, 10, ByteOrder::big);
    const std::uint32_t width = chunk.u32();
    const std::uint32_t height = chunk.u32();
    const std::uint8_t depth = chunk.u8();
    const std::uint8_t colour = chunk.u8();
    if (chunk.failed() || !enterSize(width, height, image))
        return false;
    constexpr std::uint8_t palette = 3;
    constexpr std::uint8_t alphaFlag = 4;
    image.bitsPerComponent = colour == palette ? 8 : depth; // the depth of a palette image is that of its indices
    image.isFloatingPoint = false;
    image.hasAlpha = (colour & alphaFlag) != 0;
    return true;
}

} // namespace

bool readPngHeader(HeaderBytes& file, SourceProperties& image) { return readPngHeader(file, 0, image); }

bool readPngHeader(HeaderBytes& file, std::uint64_t start, SourceProperties& image)
{
    bool isUnderstood = false;
    PngChunks chunks{file, start};
    while (const auto chunk = chunks.next()) {
        if (chunk->type == "IDAT")
            break;
        if (chunk->type == "IHDR")
            isUnderstood = readHeaderChunk(file, chunk->data(), image);
        else if (chunk->type == "tRNS")
            image.hasAlpha = true;
        else if (chunk->type == "acTL")
            image.imageCount = file.reader(chunk->data(), 4, ByteOrder::big).u32();
        else if (chunk->type == "eXIf")
            noteExif(file, chunk->data(), image);
        else if (chunk->type == "iTXt" && file.hasText(chunk->data(), "XML:com.adobe.xmp"))
            noteXmp(file, chunk->data(), chunk->count, image);
    }
    if (!isUnderstood)
        return false;
    // Exif may also follow the pixels, so a position that was not seen says nothing.
    if (image.imageCount.value_or(0) == 0)
        image.imageCount = 1;
    return true;
}

} // namespace nivex
