#include "NivexKit/Structures/PhotoshopResources.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <array>

namespace nivex {

std::optional<PhotoshopResource> PhotoshopResources::next()
{
    if (next_ >= end_)
        return std::nullopt;
    constexpr std::size_t longestHeader = 4 + 2 + 256 + 4; // signature, identifier, name with its length, size
    std::array<std::byte, longestHeader> bytes;
    ByteReader header{std::span{bytes}.first(file_.read(next_, bytes)), ByteOrder::big};
    const bool isResource = header.text(4) == "8BIM";
    const std::uint16_t identifier = header.u16();
    const std::size_t nameBytes = header.u8();
    header.skip(nameBytes + 1 - nameBytes % 2); // with its length byte it is padded to an even size
    const std::uint32_t size = header.u32();
    const std::uint64_t begin = next_ + header.position();
    if (!isResource || header.failed() || begin > end_ || size > end_ - begin)
        return std::nullopt;
    next_ = begin + size + size % 2;
    return PhotoshopResource{.identifier = identifier, .begin = begin, .end = begin + size};
}

void forEachResource(std::span<const std::byte> blocks,
                     const std::function<void(std::uint16_t, std::span<const std::byte>)>& take)
{
    const MemorySource source{blocks};
    PhotoshopResources resources{source, 0, blocks.size()};
    while (const auto each = resources.next())
        take(each->identifier, blocks.subspan(each->begin, each->end - each->begin));
}

std::vector<std::byte> resourceBlock(std::uint16_t identifier, std::span<const std::byte> contents)
{
    ByteWriter writer{ByteOrder::big};
    writer.text("8BIM").u16(identifier).u16(0).u32(static_cast<std::uint32_t>(contents.size())).bytes(contents);
    if (contents.size() % 2 == 1)
        writer.u8(0);
    return std::move(writer).release();
}

} // namespace nivex
