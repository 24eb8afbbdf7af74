#include "NivexKit/Structures/RiffChunks.hpp"

#include <array>

namespace nivex {

std::optional<RiffChunk> RiffChunks::next()
{
    std::array<std::byte, 8> bytes;
    ByteReader header{std::span{bytes}.first(file_.read(position_, bytes)), order_};
    RiffChunk chunk{.offset = position_, .id = std::string{header.text(4)}, .size = header.u32()};
    if (header.failed())
        return std::nullopt;
    position_ = chunk.end();
    return chunk;
}

} // namespace nivex
