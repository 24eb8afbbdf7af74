// Metadata in the chunks of WebP (RFC 9649, section 2).
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"
#include "NivexKit/Structures/WebpHeader.hpp"

#include <string>
#include <vector>

namespace nivex::image {
namespace {

constexpr std::uint64_t headBytes = 12; // "RIFF", size, "WEBP"
constexpr std::uint8_t hasXmp = 0x04;
constexpr std::uint8_t hasExif = 0x08;
constexpr std::uint8_t hasAlpha = 0x10;

bool isMetadata(const RiffChunk& chunk) { return chunk.id == "EXIF" || chunk.id == "XMP "; }

std::vector<RiffChunk> chunksOf(const ByteSource& file)
{
    std::vector<RiffChunk> found;
    RiffChunks chunks{file, headBytes};
    while (found.size() < 1'000'000) {
        const auto chunk = chunks.next();
        if (!chunk || !chunk->isWholeIn(file))
            break;
        found.push_back(*chunk);
    }
    return found;
}

/// The data of the chunk that says what else there is.
std::vector<std::byte> extendedHeader(const ByteSource& file, const std::vector<RiffChunk>& chunks)
{
    if (chunks.empty())
        throw metadataFailure();
    if (chunks.front().id == "VP8X") {
        auto data = file.read(chunks.front().data(), 10);
        if (data.size() < 10)
            throw metadataFailure();
        return data;
    }
    const auto picture = webpHeader(file, chunks.front());
    if (!picture)
        throw metadataFailure();
    ByteWriter writer{ByteOrder::little};
    writer.u32(picture->hasAlpha ? hasAlpha : 0).u24(picture->width - 1).u24(picture->height - 1);
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
    for (const RiffChunk& chunk : chunksOf(file)) {
        if (!isMetadata(chunk) || chunk.size > mostBlockBytes)
            continue;
        auto data = file.read(chunk.data(), chunk.size);
        if (chunk.id == "EXIF")
            metadata.exif = std::move(data);
        else
            metadata.xmp = asText(data);
    }
    return metadata;
}

void writeWebpMetadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    const std::vector<RiffChunk> chunks = chunksOf(file.old());
    std::vector<std::byte> extended = extendedHeader(file.old(), chunks);
    extended[0] = (extended[0] & ~std::byte{hasExif | hasXmp}) |
                  std::byte{static_cast<std::uint8_t>((metadata.exif.empty() ? 0 : hasExif) |
                                                      (metadata.xmp.empty() ? 0 : hasXmp))};
    const auto exif = metadata.exif.empty() ? std::vector<std::byte>{} : chunk("EXIF", metadata.exif);
    const auto xmp = metadata.xmp.empty() ? std::vector<std::byte>{} : chunk("XMP ", asBytes(metadata.xmp));
    const auto first = chunk("VP8X", extended);

    std::uint64_t size = 4 + first.size() + exif.size() + xmp.size();
    for (const RiffChunk& each : chunks)
        if (each.id != "VP8X" && !isMetadata(each))
            size += each.end() - each.offset;
    ByteWriter head{ByteOrder::little};
    head.text("RIFF").u32(static_cast<std::uint32_t>(size)).text("WEBP").bytes(first);
    file.write(head.view());
    for (const RiffChunk& each : chunks)
        if (each.id != "VP8X" && !isMetadata(each))
            file.copy(each.offset, each.end() - each.offset);
    file.write(asText(exif));
    file.write(asText(xmp));
    file.commit();
}

} // namespace nivex::image
