// RFC 9649 (VP8X and the lossless bitstream), RFC 6386, 9.1 (the frame header of the lossy one).
#include "NivexKit/Structures/WebpHeader.hpp"

#include <array>

namespace nivex {
namespace {

constexpr std::uint32_t sideBits = 0x3FFF;

/// A tag of three bytes, a start code, then the sides.
std::optional<WebpHeader> ofLossy(ByteReader reader)
{
    constexpr std::uint32_t startCode = 0x2A019D;
    reader.skip(3);
    const bool isStart = reader.u24() == startCode;
    const WebpHeader header{.width = reader.u16() & sideBits, .height = reader.u16() & sideBits};
    return isStart && header.width > 0 && header.height > 0 ? std::optional{header} : std::nullopt;
}

/// A mark, then both sides less one and the flag for alpha.
std::optional<WebpHeader> ofLossless(ByteReader reader)
{
    constexpr std::uint8_t mark = 0x2F;
    const bool isMarked = reader.u8() == mark;
    const std::uint32_t bits = reader.u32();
    const WebpHeader header{
        .width = (bits & sideBits) + 1, .height = (bits >> 14 & sideBits) + 1, .hasAlpha = (bits >> 28 & 1) != 0};
    return isMarked && !reader.failed() ? std::optional{header} : std::nullopt;
}

std::optional<WebpHeader> ofAll(ByteReader reader)
{
    const std::uint8_t flags = reader.u8();
    reader.skip(3);
    const WebpHeader header{.width = reader.u24() + 1,
                            .height = reader.u24() + 1,
                            .hasAlpha = (flags & 0x10) != 0,
                            .isAnimated = (flags & 0x02) != 0,
                            .hasMetadata = (flags & 0x0C) != 0};
    return reader.failed() ? std::nullopt : std::optional{header};
}

} // namespace

std::optional<WebpHeader> webpHeader(const ByteSource& file, const RiffChunk& chunk)
{
    std::array<std::byte, 10> bytes;
    const ByteReader reader{std::span{bytes}.first(file.read(chunk.data(), bytes))};
    return chunk.id == "VP8 "   ? ofLossy(reader)
           : chunk.id == "VP8L" ? ofLossless(reader)
           : chunk.id == "VP8X" ? ofAll(reader)
                                : std::nullopt;
}

} // namespace nivex
