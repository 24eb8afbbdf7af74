#include "NivexKit/Structures/PhotoshopResources.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

namespace nivex {

void forEachResource(std::span<const std::byte> blocks,
                     const std::function<void(std::uint16_t, std::span<const std::byte>)>& take)
{
    ByteReader reader{blocks, ByteOrder::big};
    while (reader.left() > 0 && reader.text(4) == "8BIM") {
        const std::uint16_t identifier = reader.u16();
        const std::size_t nameBytes = reader.u8();
        reader.skip(nameBytes + 1 - nameBytes % 2); // with its length byte it is padded to an even size
        const std::size_t count = reader.u32();
        const auto contents = reader.bytes(count);
        if (reader.failed())
            return;
        take(identifier, contents);
        if (count % 2 == 1 && reader.left() > 0)
            reader.skip(1);
    }
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
