#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"
#include "NivexKit/Structures/WebpHeader.hpp"

namespace nivex {
namespace {

/// Reads the chunks behind the extended header: counts frames and looks for a position.
void readFurtherChunks(HeaderBytes& file, std::uint64_t offset, bool isAnimated, SourceProperties& image)
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
    if (isAnimated)
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
    const auto header = webpHeader(file, *first);
    if (!header || !enterSize(header->width, header->height, image))
        return false;
    image.hasAlpha = header->hasAlpha;
    image.bitsPerComponent = 8;
    image.isFloatingPoint = false;
    if (!header->isAnimated)
        image.imageCount = 1;
    if (header->isAnimated || header->hasMetadata)
        readFurtherChunks(file, first->end(), header->isAnimated, image);
    else
        image.hasLocation = false;
    return true;
}

} // namespace nivex
