#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"

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
    constexpr std::uint64_t signatureSize = 8;
    constexpr std::uint64_t frame = 12; // length, type and checksum of a chunk
    constexpr int maxChunks = 128;
    bool isUnderstood = false;
    std::uint64_t offset = start + signatureSize;
    for (int i = 0; i < maxChunks; ++i) {
        ByteReader chunk = file.reader(offset, 8, ByteOrder::big);
        const std::uint32_t length = chunk.u32();
        const std::string_view type = chunk.text(4);
        const std::uint64_t data = offset + 8;
        if (chunk.failed() || type == "IDAT")
            break;
        if (type == "IHDR")
            isUnderstood = readHeaderChunk(file, data, image);
        else if (type == "tRNS")
            image.hasAlpha = true;
        else if (type == "acTL")
            image.imageCount = file.reader(data, 4, ByteOrder::big).u32();
        else if (type == "eXIf")
            noteExif(file, data, image);
        else if (type == "iTXt" && file.hasText(data, "XML:com.adobe.xmp"))
            noteXmp(file, data, length, image);
        offset += frame + length;
    }
    if (!isUnderstood)
        return false;
    // Exif may also follow the pixels, so a position that was not seen says nothing.
    if (image.imageCount.value_or(0) == 0)
        image.imageCount = 1;
    return true;
}

} // namespace nivex
