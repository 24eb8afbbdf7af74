// Files of painting programs: Photoshop documents and GIMP images.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/PhotoshopDocument.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

namespace nivex {
namespace {

/// Channels that carry the colour of a Photoshop mode; more are alpha or spot channels.
int colourChannels(std::uint16_t mode)
{
    switch (mode) {
    case 3: // RGB
    case 9: // Lab
        return 3;
    case 4: // CMYK
        return 4;
    case 7: // multichannel: all of them
        return 56;
    default: // bitmap, greyscale, indexed, duotone
        return 1;
    }
}

/// Looks at the image resources for the Exif and XMP blocks. False when not all of them were seen.
bool readResources(HeaderBytes& file, const PhotoshopDocument::Part& part, SourceProperties& image)
{
    constexpr int maxResources = 256;
    PhotoshopResources resources{file, part.begin, part.end};
    for (int i = 0; i < maxResources; ++i) {
        const auto each = resources.next();
        if (!each)
            break;
        if (each->identifier == photoshop::exif)
            noteExif(file, each->begin, image);
        else if (each->identifier == photoshop::xmp)
            noteXmp(file, each->begin, each->end - each->begin, image);
    }
    return resources.reachedEnd();
}

} // namespace

bool readPhotoshopHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(4, 22, ByteOrder::big);
    header.skip(2 + 6); // version, reserved
    const std::uint16_t channels = header.u16();
    const std::uint32_t height = header.u32();
    const std::uint32_t width = header.u32();
    const std::uint16_t depth = header.u16();
    const std::uint16_t mode = header.u16();
    if (header.failed() || depth > 32 || !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = depth;
    image.isFloatingPoint = depth == 32;
    image.hasAlpha = channels > colourChannels(mode);
    image.imageCount = 1;

    const auto document = PhotoshopDocument::of(file);
    if (!document)
        return true;
    if (readResources(file, document->resources, image))
        image.hasLocation = image.hasLocation.value_or(false);
    if (const auto layers = photoshopLayers(file, *document)) {
        image.hasLayers = layers->areThere;
        if (layers->leaveHoles)
            image.hasAlpha = true;
    }
    return true;
}

bool readXcfHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(14, 8, ByteOrder::big); // behind "gimp xcf " and the version
    const std::uint32_t width = header.u32();
    const std::uint32_t height = header.u32();
    if (header.failed() || !enterSize(width, height, image))
        return false;
    image.hasLayers = true;
    image.imageCount = 1;
    return true;
}

} // namespace nivex
