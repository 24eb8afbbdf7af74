#include "NivexWorkers/Image/Structures/PngChunks.hpp"

#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <span>

namespace nivex::image {

std::optional<PngChunk> pngChunkAt(const ByteSource& file, std::uint64_t offset)
{
    const auto head = file.read(offset, 8);
    ByteReader reader{head, ByteOrder::big};
    const std::size_t count = reader.u32();
    const std::string type{reader.text(4)};
    if (reader.failed() || file.size() < offset + 12 || file.size() - offset - 12 < count)
        return std::nullopt;
    return PngChunk{offset, count, type};
}

std::optional<std::vector<std::byte>> checkedData(const ByteSource& file, const PngChunk& chunk)
{
    const auto typeAndData = file.read(chunk.data() - 4, 4 + chunk.count);
    const auto checksum = file.read(chunk.end() - 4, 4);
    ByteReader reader{checksum, ByteOrder::big};
    if (reader.u32() != CRC32::checksum(typeAndData) || reader.failed())
        return std::nullopt;
    return std::vector<std::byte>{typeAndData.begin() + 4, typeAndData.end()};
}

std::string pngChunk(std::string_view type, std::string_view data)
{
    ByteWriter checked{ByteOrder::big};
    checked.text(type).text(data);
    ByteWriter writer{ByteOrder::big};
    writer.u32(static_cast<std::uint32_t>(data.size()))
        .text(checked.view())
        .u32(CRC32::checksum(std::as_bytes(std::span{checked.view()})));
    return std::string{writer.view()};
}

} // namespace nivex::image
