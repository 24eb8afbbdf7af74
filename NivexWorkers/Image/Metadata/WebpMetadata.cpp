// Metadata in the chunks of WebP (RFC 9649, section 2).
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <optional>
#include <string>
#include <vector>

namespace nivex::image {
namespace {

constexpr std::uint64_t headBytes = 12; // "RIFF", size, "WEBP"
constexpr std::uint8_t hasXmp = 0x04;
constexpr std::uint8_t hasExif = 0x08;
constexpr std::uint8_t hasAlpha = 0x10;

struct Chunk {
    std::uint64_t offset; // of its name
    std::string name;
    std::size_t count; // bytes of its data

    std::uint64_t end() const { return offset + 8 + count + count % 2; }
    bool isMetadata() const { return name == "EXIF" || name == "XMP "; }
};

std::vector<Chunk> chunksOf(const ByteSource& file)
{
    std::vector<Chunk> chunks;
    std::uint64_t offset = headBytes;
    while (chunks.size() < 1'000'000) {
        const auto head = file.read(offset, 8);
        ByteReader reader{head};
        const std::string name{reader.text(4)};
        const std::size_t count = reader.u32();
        if (reader.failed() || file.size() - offset - 8 < count)
            break;
        chunks.push_back({offset, name, count});
        offset = chunks.back().end();
    }
    return chunks;
}

struct Canvas {
    std::uint32_t width;
    std::uint32_t height;
    bool hasAlpha;
};

/// What the header of a bitstream tells: a lossy key frame (RFC 6386, 9.1) or a lossless picture.
std::optional<Canvas> canvasOf(const ByteSource& file, const Chunk& chunk)
{
    const auto head = file.read(chunk.offset + 8, 10);
    ByteReader reader{head};
    Canvas canvas{};
    if (chunk.name == "VP8 ") {
        reader.skip(6); // frame tag and start code
        canvas.width = reader.u16() & 0x3FFFu;
        canvas.height = reader.u16() & 0x3FFFu;
    } else if (chunk.name == "VP8L") {
        reader.skip(1);
        const std::uint32_t bits = reader.u32();
        canvas = {(bits & 0x3FFFu) + 1, ((bits >> 14) & 0x3FFFu) + 1, ((bits >> 28) & 1u) != 0};
    } else {
        return std::nullopt;
    }
    return reader.failed() || canvas.width == 0 || canvas.height == 0 ? std::nullopt : std::optional{canvas};
}

/// The data of the chunk that says what else there is.
std::vector<std::byte> extendedHeader(const ByteSource& file, const std::vector<Chunk>& chunks)
{
    if (chunks.empty())
        throw metadataFailure();
    if (chunks.front().name == "VP8X") {
        auto data = file.read(chunks.front().offset + 8, 10);
        if (data.size() < 10)
            throw metadataFailure();
        return data;
    }
    const auto canvas = canvasOf(file, chunks.front());
    if (!canvas)
        throw metadataFailure();
    ByteWriter writer{ByteOrder::little};
    writer.u32(canvas->hasAlpha ? hasAlpha : 0).u24(canvas->width - 1).u24(canvas->height - 1);
    return std::move(writer).release();
}

std::vector<std::byte> chunk(std::string_view name, std::span<const std::byte> data)
{
    ByteWriter writer{ByteOrder::little};
    writer.text(name).u32(static_cast<std::uint32_t>(data.size())).bytes(data);
    if (data.size() % 2 == 1)
        writer.u8(0);
    return std::move(writer).release();
}

} // namespace

Metadata readWebpMetadata(const ByteSource& file)
{
    Metadata metadata;
    for (const Chunk& chunk : chunksOf(file)) {
        if (!chunk.isMetadata() || chunk.count > mostBlockBytes)
            continue;
        auto data = file.read(chunk.offset + 8, chunk.count);
        if (chunk.name == "EXIF")
            metadata.exif = std::move(data);
        else
            metadata.xmp = asText(data);
    }
    return metadata;
}

void writeWebpMetadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    const std::vector<Chunk> chunks = chunksOf(file.old());
    std::vector<std::byte> extended = extendedHeader(file.old(), chunks);
    extended[0] = (extended[0] & ~std::byte{hasExif | hasXmp}) |
                  std::byte{static_cast<std::uint8_t>((metadata.exif.empty() ? 0 : hasExif) |
                                                      (metadata.xmp.empty() ? 0 : hasXmp))};
    const auto exif = metadata.exif.empty() ? std::vector<std::byte>{} : chunk("EXIF", metadata.exif);
    const auto xmp = metadata.xmp.empty() ? std::vector<std::byte>{} : chunk("XMP ", asBytes(metadata.xmp));
    const auto first = chunk("VP8X", extended);

    std::uint64_t size = 4 + first.size() + exif.size() + xmp.size();
    for (const Chunk& each : chunks)
        if (each.name != "VP8X" && !each.isMetadata())
            size += each.end() - each.offset;
    ByteWriter head{ByteOrder::little};
    head.text("RIFF").u32(static_cast<std::uint32_t>(size)).text("WEBP").bytes(first);
    file.write(head.view());
    for (const Chunk& each : chunks)
        if (each.name != "VP8X" && !each.isMetadata())
            file.copy(each.offset, each.end() - each.offset);
    file.write(asText(exif));
    file.write(asText(xmp));
    file.commit();
}

} // namespace nivex::image
