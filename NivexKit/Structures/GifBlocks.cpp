#include "NivexKit/Structures/GifBlocks.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <array>

namespace nivex {
namespace {

std::uint64_t colourTableSize(std::uint8_t flags) { return (flags & 0x80) != 0 ? 3ULL << ((flags & 7) + 1) : 0; }

} // namespace

// A stretch at a time: pixels are a long run of sub-blocks of at most 255 bytes.
GifBlocks::GifBlocks(const ByteSource& file) : file_{file}, stretch_(16 * 1024)
{
    constexpr std::size_t screenEnd = 13; // of signature and screen
    std::array<std::byte, screenEnd> bytes;
    ByteReader screen{std::span{bytes}.first(file.read(0, bytes))};
    screen.skip(10);
    const std::uint8_t flags = screen.u8();
    screen.skip(2);
    if (!screen.failed())
        position_ = screenEnd + colourTableSize(flags);
}

std::optional<GifBlock> GifBlocks::next()
{
    constexpr std::uint8_t trailer = 0x3B;
    if (!position_)
        return std::nullopt;
    std::array<std::byte, 10> bytes;
    ByteReader reader{std::span{bytes}.first(file_.read(*position_, bytes))};
    GifBlock block{.offset = *position_, .kind = reader.u8(), .isWhole = false};
    if (reader.failed()) {
        position_.reset();
        return std::nullopt;
    }
    reachedTrailer_ = block.kind == trailer;
    if (block.kind == GifBlock::extension) {
        position_ = behindSubBlocks(block.offset + 2); // behind the label
    } else if (block.kind == GifBlock::image) {
        reader.skip(8); // position and size on the screen
        const std::uint8_t flags = reader.u8();
        constexpr std::uint64_t codeSize = 1;
        position_ =
            reader.failed() ? std::nullopt : behindSubBlocks(block.offset + 10 + colourTableSize(flags) + codeSize);
    } else {
        return std::nullopt;
    }
    block.isWhole = position_.has_value();
    return block;
}

std::optional<std::uint64_t> GifBlocks::behindSubBlocks(std::uint64_t offset)
{
    while (const std::size_t count = file_.read(offset, stretch_)) {
        std::size_t at = 0;
        while (at < count) {
            const auto length = std::to_integer<std::size_t>(stretch_[at]);
            if (length == 0)
                return offset + at + 1;
            at += 1 + length;
        }
        offset += at;
    }
    return std::nullopt;
}

} // namespace nivex
