#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <unordered_set>

namespace nivex {
namespace {

namespace tag {
constexpr std::uint16_t subfileType = 254;
constexpr std::uint16_t width = 256;
constexpr std::uint16_t height = 257;
constexpr std::uint16_t bitsPerSample = 258;
constexpr std::uint16_t extraSamples = 338;
constexpr std::uint16_t sampleFormat = 339;
constexpr std::uint16_t exifDirectory = 34665;
constexpr std::uint16_t photoshopLayers = 37724;
constexpr std::uint16_t exifWidth = 40962;
constexpr std::uint16_t exifHeight = 40963;
// Panasonic's own, in its first directory.
constexpr std::uint16_t sensorTop = 4;
constexpr std::uint16_t sensorLeft = 5;
constexpr std::uint16_t sensorBottom = 6;
constexpr std::uint16_t sensorRight = 7;
constexpr std::uint16_t sensorBits = 10;
} // namespace tag

constexpr std::uint64_t maxSamples = 8; // samples of a pixel that are looked at
constexpr std::size_t maxPages = 4096;
constexpr std::uint64_t maxSubDirectories = 16;
constexpr std::uint64_t largestSide = 1U << 20; // of a camera's picture

struct Size {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

Size sizeOf(const TiffStructure& tiff, const TiffDirectory& directory)
{
    return {tiff.number(directory.field(tag::width)).value_or(0),
            tiff.number(directory.field(tag::height)).value_or(0)};
}

/// True when any of the first values of the field satisfies `test`.
template <class Test>
bool anyValue(const TiffStructure& tiff, const TiffField* field, Test test)
{
    for (std::uint64_t i = 0; field && i < std::min(field->count, maxSamples); ++i)
        if (const auto value = tiff.number(field, i); value && test(*value))
            return true;
    return false;
}

void enterSamples(const TiffStructure& tiff, const TiffDirectory& directory, SourceProperties& image)
{
    std::uint64_t bits = 1; // the default of the format: black and white
    anyValue(tiff, directory.field(tag::bitsPerSample), [&bits](std::uint64_t value) {
        bits = std::max(bits, value);
        return false;
    });
    if (bits <= 64)
        image.bitsPerComponent = static_cast<std::int64_t>(bits);
    constexpr std::uint64_t floatingPoint = 3;
    image.isFloatingPoint =
        anyValue(tiff, directory.field(tag::sampleFormat), [](std::uint64_t value) { return value == floatingPoint; });
}

void enterMetadata(HeaderBytes& file, const TiffStructure& tiff, const TiffDirectory& directory,
                   SourceProperties& image)
{
    image.hasLocation = false;
    noteGpsDirectory(tiff, directory, image);
    if (const TiffField* xmp = directory.field(tifftag::xmp))
        noteXmp(file, xmp->position, xmp->count, image);
}

/// Counts the pages of the chain that starts at `first`; smaller versions of a page and masks are none.
void countPages(const HeaderBytes& file, const TiffStructure& tiff, TiffDirectory first, SourceProperties& image)
{
    constexpr std::uint64_t reducedOrMask = 1 | 4;
    std::int64_t pages = 1;
    std::unordered_set<std::uint64_t> seen; // a chain that leads back would never end
    std::uint64_t next = first.next;
    while (next != 0 && seen.size() < maxPages && seen.insert(next).second) {
        const auto directory = tiff.directory(next);
        if (!directory)
            break;
        if ((tiff.number(directory->field(tag::subfileType)).value_or(0) & reducedOrMask) == 0)
            ++pages;
        next = directory->next;
    }
    enterImageCount(pages, !file.reachedBound(), image);
}

/// The directory of the largest image: the first chain and the directories below it.
std::optional<TiffDirectory> largestImage(const TiffStructure& tiff, const TiffDirectory& first)
{
    std::optional<TiffDirectory> largest;
    std::uint64_t largestArea = 0;
    const auto consider = [&](const TiffDirectory& directory) {
        const Size size = sizeOf(tiff, directory);
        if (std::max(size.width, size.height) > largestSide || size.width * size.height <= largestArea)
            return;
        largestArea = size.width * size.height;
        largest = directory;
    };
    constexpr int maxChain = 16;
    std::optional<TiffDirectory> directory = first;
    for (int i = 0; i < maxChain && directory; ++i) {
        consider(*directory);
        const TiffField* below = directory->field(tifftag::subDirectories);
        for (std::uint64_t j = 0; below && j < std::min(below->count, maxSubDirectories); ++j)
            if (const auto offset = tiff.number(below, j))
                if (const auto sub = tiff.directory(*offset))
                    consider(*sub);
        directory = tiff.directory(directory->next);
    }
    return largest;
}

/// The size that Exif states. It is the larger one where the raw pixels stand in a directory without a size.
Size exifSize(const TiffStructure& tiff, const TiffDirectory& first)
{
    const auto offset = tiff.number(first.field(tag::exifDirectory));
    const auto exif = offset ? tiff.directory(*offset) : std::nullopt;
    if (!exif)
        return {};
    const Size size{tiff.number(exif->field(tag::exifWidth)).value_or(0),
                    tiff.number(exif->field(tag::exifHeight)).value_or(0)};
    return std::max(size.width, size.height) <= largestSide ? size : Size{};
}

/// Panasonic gives the borders of the picture on the sensor instead of its size.
bool enterSensorArea(const TiffStructure& tiff, const TiffDirectory& directory, SourceProperties& image)
{
    const auto value = [&](std::uint16_t wanted) { return tiff.number(directory.field(wanted)); };
    const auto top = value(tag::sensorTop);
    const auto left = value(tag::sensorLeft);
    const auto bottom = value(tag::sensorBottom);
    const auto right = value(tag::sensorRight);
    if (!top || !left || !bottom || !right || *bottom <= *top || *right <= *left)
        return false;
    if (const auto bits = value(tag::sensorBits); bits && *bits <= 32)
        image.bitsPerComponent = static_cast<std::int64_t>(*bits);
    return enterSize(*right - *left, *bottom - *top, image);
}

} // namespace

bool readTiffHeader(HeaderBytes& file, SourceProperties& image)
{
    const auto tiff = TiffStructure::at(file, 0);
    const auto directory = tiff ? tiff->directory(tiff->firstDirectory()) : std::nullopt;
    if (!directory)
        return false;
    const Size size = sizeOf(*tiff, *directory);
    if (!enterSize(size.width, size.height, image))
        return false;
    enterSamples(*tiff, *directory, image);
    image.hasAlpha = anyValue(*tiff, directory->field(tag::extraSamples),
                              [](std::uint64_t meaning) { return meaning == 1 || meaning == 2; });
    image.hasLayers = directory->field(tag::photoshopLayers) != nullptr;
    enterMetadata(file, *tiff, *directory, image);
    countPages(file, *tiff, *directory, image);
    return true;
}

bool readTiffRawHeader(HeaderBytes& file, SourceProperties& image)
{
    const auto tiff = TiffStructure::at(file, 0);
    const auto first = tiff ? tiff->directory(tiff->firstDirectory()) : std::nullopt;
    if (!first)
        return false;
    enterMetadata(file, *tiff, *first, image);
    image.hasAlpha = false;
    image.imageCount = 1;
    if (enterSensorArea(*tiff, *first, image))
        return true;
    const auto directory = largestImage(*tiff, *first);
    const Size stored = directory ? sizeOf(*tiff, *directory) : Size{};
    const Size stated = exifSize(*tiff, *first);
    if (stated.width * stated.height > stored.width * stored.height)
        return enterSize(stated.width, stated.height, image);
    if (directory)
        enterSamples(*tiff, *directory, image);
    return enterSize(stored.width, stored.height, image);
}

bool readRafHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(84, 16, ByteOrder::big);
    const std::uint32_t preview = header.u32();
    header.skip(4); // its length
    const std::uint32_t records = header.u32();
    if (header.failed())
        return false;
    // The metadata is that of the preview, a whole JPEG file.
    SourceProperties ofPreview;
    if (readJpegHeader(file, preview, ofPreview))
        image.hasLocation = ofPreview.hasLocation;

    constexpr std::uint16_t sensorSize = 0x100;
    constexpr std::uint16_t croppedSize = 0x111;
    constexpr std::uint32_t maxRecords = 256;
    ByteReader reader = file.reader(records, 16 * 1024, ByteOrder::big);
    const std::uint32_t count = std::min(reader.u32(), maxRecords);
    bool isUnderstood = false;
    for (std::uint32_t i = 0; i < count && !reader.failed(); ++i) {
        const std::uint16_t tag = reader.u16();
        const std::uint16_t length = reader.u16();
        ByteReader value{reader.bytes(length), ByteOrder::big};
        if (tag != croppedSize && (tag != sensorSize || isUnderstood))
            continue;
        const std::uint16_t height = value.u16();
        const std::uint16_t width = value.u16();
        isUnderstood = enterSize(width, height, image) || isUnderstood;
    }
    image.hasAlpha = false;
    image.imageCount = 1;
    return isUnderstood;
}

} // namespace nivex
