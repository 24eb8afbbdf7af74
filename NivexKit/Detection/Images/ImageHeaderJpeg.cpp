#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"

#include <algorithm>

namespace nivex {
namespace {

constexpr std::uint8_t application1 = 0xE1;

/// A frame header (SOF0 to SOF15); the codes between that mean tables (DHT, JPG, DAC) are none.
bool isFrame(std::uint8_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool readFrame(HeaderBytes& file, std::uint64_t data, SourceProperties& image)
{
    ByteReader frame = file.reader(data, 5, ByteOrder::big);
    const std::uint8_t precision = frame.u8();
    const std::uint16_t height = frame.u16();
    const std::uint16_t width = frame.u16();
    if (frame.failed() || !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = precision;
    image.isFloatingPoint = false;
    image.hasAlpha = false;
    image.imageCount = 1;
    // Exif and XMP stand before the frame.
    image.hasLocation = image.hasLocation.value_or(false);
    return true;
}

void readApplicationData(HeaderBytes& file, std::uint64_t data, std::uint64_t length, SourceProperties& image)
{
    constexpr std::string_view exif{"Exif\0\0", 6};
    constexpr std::string_view xmp{"http://ns.adobe.com/xap/1.0/\0", 29};
    if (file.hasText(data, exif))
        noteExif(file, data + exif.size(), image);
    else if (file.hasText(data, xmp))
        noteXmp(file, data + xmp.size(), length - std::min<std::uint64_t>(length, xmp.size()), image);
}

} // namespace

bool readJpegHeader(HeaderBytes& file, SourceProperties& image) { return readJpegHeader(file, 0, image); }

bool readJpegHeader(HeaderBytes& file, std::uint64_t start, SourceProperties& image)
{
    JpegSegments segments{file, start};
    while (const auto segment = segments.next()) {
        if (isFrame(segment->marker))
            return readFrame(file, segment->data(), image);
        if (segment->marker == application1)
            readApplicationData(file, segment->data(), segment->payload, image);
    }
    return false;
}

} // namespace nivex
