#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"

#include <algorithm>

namespace nivex {
namespace {

constexpr std::uint8_t startOfImage = 0xD8;
constexpr std::uint8_t endOfImage = 0xD9;
constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::uint8_t application1 = 0xE1;

/// A frame header (SOF0 to SOF15); the codes between that mean tables (DHT, JPG, DAC) are none.
bool isFrame(std::uint8_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

bool standsAlone(std::uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= startOfImage); }

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
    constexpr int maxSegments = 512;
    std::uint64_t offset = start + 2;
    for (int i = 0; i < maxSegments; ++i) {
        ByteReader segment = file.reader(offset, 4, ByteOrder::big);
        if (segment.u8() != 0xFF)
            return false;
        const std::uint8_t marker = segment.u8();
        if (marker == 0xFF) { // a fill byte
            ++offset;
            continue;
        }
        if (standsAlone(marker)) {
            offset += 2;
            continue;
        }
        const std::uint16_t length = segment.u16(); // with its own two bytes
        if (segment.failed() || length < 2 || marker == startOfScan || marker == endOfImage)
            return false;
        if (isFrame(marker))
            return readFrame(file, offset + 4, image);
        if (marker == application1)
            readApplicationData(file, offset + 4, length - 2U, image);
        offset += 2U + length;
    }
    return false;
}

} // namespace nivex
