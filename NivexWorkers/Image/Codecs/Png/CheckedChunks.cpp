#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"

#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <span>

namespace nivex::image {

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
