#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// The frame header of the lossy codec: a 3-byte tag, a start code, then the sizes in 14 bits each.
bool readLossy(HeaderBytes& file, std::uint64_t data, SourceProperties& image)
{
    ByteReader frame = file.reader(data + 3, 7, ByteOrder::little);
    constexpr std::uint32_t startCode = 0x2A019D;
    if (frame.u24() != startCode)
        return false;
    const unsigned width = frame.u16() & 0x3FFFU;
    const unsigned height = frame.u16() & 0x3FFFU;
    return !frame.failed() && enterSize(width, height, image);
}

/// The header of the lossless codec: a mark, then width - 1, height - 1 in 14 bits each and the alpha flag.
bool readLossless(HeaderBytes& file, std::uint64_t data, SourceProperties& image)
{
    ByteReader header = file.reader(data, 5, ByteOrder::little);
    if (header.u8() != 0x2F)
        return false;
    const std::uint32_t bits = header.u32();
    if (header.failed())
        return false;
    image.hasAlpha = (bits >> 28 & 1) != 0;
    return enterSize((bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1, image);
}

struct Features {
    bool isAnimated = false;
    bool hasMetadata = false;
};

bool readExtended(HeaderBytes& file, std::uint64_t data, Features& features, SourceProperties& image)
{
    ByteReader header = file.reader(data, 10, ByteOrder::little);
    const std::uint8_t flags = header.u8();
    header.skip(3);
    const std::uint32_t width = header.u24() + 1;
    const std::uint32_t height = header.u24() + 1;
    if (header.failed() || !enterSize(width, height, image))
        return false;
    features = {.isAnimated = (flags & 0x02) != 0, .hasMetadata = (flags & 0x0C) != 0};
    image.hasAlpha = (flags & 0x10) != 0;
    return true;
}

/// Reads the chunks behind the extended header: counts frames and looks for a position.
void readFurtherChunks(HeaderBytes& file, std::uint64_t offset, const Features& features, SourceProperties& image)
{
    constexpr int maxChunks = 4096;
    std::int64_t frames = 0;
    RiffChunks chunks{file, offset};
    for (int i = 0; i < maxChunks; ++i) {
        const auto chunk = chunks.next();
        if (!chunk)
            break;
        const std::uint64_t data = chunk->data();
        if (chunk->id == "ANMF")
            ++frames;
        else if (chunk->id == "EXIF") // some writers keep the lead-in that Exif has inside JPEG
            noteExif(file, file.hasText(data, "Exif") ? data + 6 : data, image);
        else if (chunk->id == "XMP ")
            noteXmp(file, data, chunk->size, image);
    }
    const bool isComplete = chunks.position() >= file.size();
    if (features.isAnimated)
        enterImageCount(frames, isComplete, image);
    if (isComplete)
        image.hasLocation = image.hasLocation.value_or(false);
}

} // namespace

bool readWebpHeader(HeaderBytes& file, SourceProperties& image)
{
    constexpr std::uint64_t firstChunk = 12;
    const auto first = RiffChunks{file, firstChunk}.next();
    if (!first)
        return false;
    const std::string_view type = first->id;
    const std::uint64_t data = first->data();
    Features features;
    bool isUnderstood = false;
    image.hasAlpha = false;
    if (type == "VP8 ")
        isUnderstood = readLossy(file, data, image);
    else if (type == "VP8L")
        isUnderstood = readLossless(file, data, image);
    else if (type == "VP8X")
        isUnderstood = readExtended(file, data, features, image);
    if (!isUnderstood)
        return false;
    image.bitsPerComponent = 8;
    image.isFloatingPoint = false;
    if (!features.isAnimated)
        image.imageCount = 1;
    if (features.isAnimated || features.hasMetadata)
        readFurtherChunks(file, first->end(), features, image);
    else
        image.hasLocation = false;
    return true;
}

} // namespace nivex
