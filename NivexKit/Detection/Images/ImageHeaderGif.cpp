#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"

#include <optional>

namespace nivex {
namespace {

/// Where the sub-blocks that start at `offset` end; none when the bytes or the reading bound end first.
std::optional<std::uint64_t> passSubBlocks(HeaderBytes& file, std::uint64_t offset)
{
    for (;;) {
        // A stretch at a time: pixel data is a long run of blocks of at most 255 bytes.
        constexpr std::size_t stretch = 16 * 1024;
        ByteReader blocks = file.reader(offset, stretch, ByteOrder::little);
        const std::size_t available = blocks.left();
        for (;;) {
            const std::uint8_t length = blocks.u8();
            if (blocks.failed())
                return std::nullopt;
            if (length == 0)
                return offset + blocks.position();
            if (blocks.left() <= length) { // the next length stands in the next stretch
                const std::uint64_t next = offset + available - blocks.left() + length;
                if (next <= offset || next >= file.size())
                    return std::nullopt;
                offset = next;
                break;
            }
            blocks.skip(length);
        }
    }
}

std::uint64_t colourTableSize(std::uint8_t flags) { return (flags & 0x80) != 0 ? 3ULL << ((flags & 7) + 1) : 0; }

struct FrameCount {
    std::int64_t frames = 0;
    bool isComplete = false;
};

/// Counts the images from `offset` on, where the first block stands.
FrameCount countFrames(HeaderBytes& file, std::uint64_t offset, SourceProperties& image)
{
    constexpr std::uint8_t extension = 0x21;
    constexpr std::uint8_t graphicControl = 0xF9;
    constexpr std::uint8_t imageDescriptor = 0x2C;
    constexpr std::int64_t maxFrames = 100'000;
    FrameCount count;
    while (count.frames < maxFrames) {
        ByteReader block = file.reader(offset, 10, ByteOrder::little);
        const std::uint8_t kind = block.u8();
        std::optional<std::uint64_t> next;
        if (kind == extension) {
            const std::uint8_t label = block.u8();
            block.skip(1); // the size of the first sub-block
            if (label == graphicControl && count.frames == 0 && (block.u8() & 1) != 0)
                image.hasAlpha = true;
            next = passSubBlocks(file, offset + 2);
        } else if (kind == imageDescriptor) {
            block.skip(8); // position and size of the image on the canvas
            const std::uint8_t flags = block.u8();
            if (block.failed())
                return count;
            ++count.frames;
            next = passSubBlocks(file, offset + 10 + colourTableSize(flags) + 1); // 1: the code size
        } else {
            count.isComplete = !block.failed() || offset >= file.size();
            return count;
        }
        if (!next)
            return count;
        offset = *next;
    }
    return count;
}

} // namespace

bool readGifHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader screen = file.reader(6, 7, ByteOrder::little);
    const std::uint16_t width = screen.u16();
    const std::uint16_t height = screen.u16();
    const std::uint8_t flags = screen.u8();
    if (screen.failed() || !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = 8;
    image.isFloatingPoint = false;
    image.hasAlpha = false;
    image.hasLocation = false;
    const FrameCount count = countFrames(file, 13 + colourTableSize(flags), image);
    enterImageCount(count.frames, count.isComplete, image);
    return true;
}

} // namespace nivex
