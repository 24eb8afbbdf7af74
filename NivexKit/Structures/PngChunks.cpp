#include "NivexKit/Structures/PngChunks.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <array>

namespace nivex {

std::optional<PngChunk> PngChunks::next()
{
    constexpr std::uint64_t frame = 12; // length, type and checksum
    std::array<std::byte, 8> head;
    ByteReader reader{std::span{head}.first(file_.read(position_, head)), ByteOrder::big};
    const std::size_t count = reader.u32();
    const std::string_view type = reader.text(4);
    if (reader.failed() || file_.size() - position_ < frame || file_.size() - position_ - frame < count)
        return std::nullopt;
    PngChunk chunk{position_, count, std::string{type}};
    position_ = chunk.end();
    return chunk;
}

} // namespace nivex
