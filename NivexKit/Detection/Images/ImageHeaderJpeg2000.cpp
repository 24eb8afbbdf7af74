#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>

namespace nivex {
namespace {

constexpr std::string_view exifIdentifier{"JpgTiffExif->JP2", 16};
constexpr std::string_view xmpIdentifier{"\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC", 16};

/// Depths are stored less one; the top bit says that values have a sign.
int depth(std::uint8_t stored) { return (stored & 0x7F) + 1; }

/// The size marker at the start of a codestream.
bool readCodestream(HeaderBytes& file, std::uint64_t offset, SourceProperties& image)
{
    ByteReader size = file.reader(offset, 43, ByteOrder::big);
    constexpr std::uint32_t startAndSizeMarkers = 0xFF4FFF51;
    if (size.u32() != startAndSizeMarkers)
        return false;
    size.skip(4); // length and capabilities
    const std::uint32_t right = size.u32();
    const std::uint32_t bottom = size.u32();
    const std::uint32_t left = size.u32();
    const std::uint32_t top = size.u32();
    size.skip(16 + 2); // tiles, and the number of components
    const std::uint8_t storedDepth = size.u8();
    if (size.failed() || right <= left || bottom <= top || !enterSize(right - left, bottom - top, image))
        return false;
    image.bitsPerComponent = depth(storedDepth);
    return true;
}

bool readImageHeaderBox(HeaderBytes& file, const IsoBox& box, SourceProperties& image)
{
    ByteReader header = file.reader(box.begin, 11, ByteOrder::big);
    const std::uint32_t height = header.u32();
    const std::uint32_t width = header.u32();
    header.skip(2); // the number of components
    const std::uint8_t storedDepth = header.u8();
    constexpr std::uint8_t depthsDiffer = 255; // a box of their own gives them
    if (header.failed() || !enterSize(width, height, image))
        return false;
    if (storedDepth != depthsDiffer)
        image.bitsPerComponent = depth(storedDepth);
    return true;
}

void readDepths(HeaderBytes& file, const IsoBox& box, SourceProperties& image)
{
    int deepest = 0;
    for (const std::byte each :
         file.slice(box.begin, static_cast<std::size_t>(std::min<std::uint64_t>(box.size(), 64))))
        deepest = std::max(deepest, depth(std::to_integer<std::uint8_t>(each)));
    if (deepest > 0)
        image.bitsPerComponent = deepest;
}

/// True when a channel is defined as opacity, plain (1) or premultiplied (2).
bool definesOpacity(HeaderBytes& file, const IsoBox& box)
{
    ByteReader reader = file.reader(box.begin, 2 + 64 * 6, ByteOrder::big);
    const std::uint16_t count = reader.u16();
    for (int i = 0; i < count && !reader.failed(); ++i) {
        reader.skip(2); // the channel
        const std::uint16_t kind = reader.u16();
        reader.skip(2); // what it belongs to
        if (!reader.failed() && (kind == 1 || kind == 2))
            return true;
    }
    return false;
}

bool readHeaderBoxes(HeaderBytes& file, const IsoBox& parent, SourceProperties& image)
{
    bool isUnderstood = false;
    image.hasAlpha = false;
    IsoBoxes boxes{file, parent};
    while (const auto box = boxes.next()) {
        if (box->type == boxType("ihdr"))
            isUnderstood = readImageHeaderBox(file, *box, image);
        else if (box->type == boxType("bpcc"))
            readDepths(file, *box, image);
        else if (box->type == boxType("cdef"))
            image.hasAlpha = definesOpacity(file, *box);
    }
    return isUnderstood;
}

} // namespace

bool readJpeg2000Header(HeaderBytes& file, SourceProperties& image)
{
    image.imageCount = 1;
    image.isFloatingPoint = false;
    if (readCodestream(file, 0, image)) {
        image.hasLocation = false;
        return true;
    }
    bool isUnderstood = false;
    IsoBoxes boxes{file};
    while (const auto box = boxes.next()) {
        if (box->type == boxType("jp2h"))
            isUnderstood = readHeaderBoxes(file, *box, image);
        else if (box->type == boxType("jp2c") && !isUnderstood)
            isUnderstood = readCodestream(file, box->begin, image);
        else if (box->type == boxType("uuid") && file.hasText(box->begin, exifIdentifier))
            noteExif(file, box->begin + exifIdentifier.size(), image);
        else if (box->type == boxType("uuid") && file.hasText(box->begin, xmpIdentifier))
            noteXmp(file, box->begin + xmpIdentifier.size(), box->size() - xmpIdentifier.size(), image);
    }
    if (boxes.reachedEnd())
        image.hasLocation = image.hasLocation.value_or(false);
    return isUnderstood;
}

} // namespace nivex
