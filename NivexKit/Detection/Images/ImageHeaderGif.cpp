#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Structures/GifBlocks.hpp"

namespace nivex {
namespace {

bool isTransparent(const HeaderBytes& file, const GifBlock& block)
{
    ByteReader reader = file.reader(block.offset + 1, 3, ByteOrder::little);
    constexpr std::uint8_t graphicControl = 0xF9;
    const bool isControl = reader.u8() == graphicControl;
    reader.skip(1); // the size of the first sub-block
    return isControl && (reader.u8() & 1) != 0;
}

void countFrames(HeaderBytes& file, SourceProperties& image)
{
    constexpr std::int64_t maxFrames = 100'000;
    std::int64_t frames = 0;
    GifBlocks blocks{file};
    while (frames < maxFrames) {
        const auto block = blocks.next();
        if (!block)
            break;
        if (block->kind == GifBlock::image)
            ++frames;
        else if (frames == 0 && isTransparent(file, *block))
            image.hasAlpha = true;
    }
    enterImageCount(frames, !blocks.isCut(), image);
}

} // namespace

bool readGifHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader screen = file.reader(6, 4, ByteOrder::little);
    const std::uint16_t width = screen.u16();
    const std::uint16_t height = screen.u16();
    if (screen.failed() || !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = 8;
    image.isFloatingPoint = false;
    image.hasAlpha = false;
    image.hasLocation = false;
    countFrames(file, image);
    return true;
}

} // namespace nivex
