// Files of painting programs: Photoshop documents and GIMP images.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"

#include <algorithm>
#include <string_view>

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

/// Walks the image resources for the Exif and XMP blocks. False when the list was cut.
bool readResources(HeaderBytes& file, std::uint64_t offset, std::uint64_t end, SourceProperties& image)
{
    constexpr int maxResources = 256;
    constexpr std::uint16_t exif = 1058;
    constexpr std::uint16_t xmp = 1060;
    for (int i = 0; i < maxResources && offset < end; ++i) {
        ByteReader resource = file.reader(offset, 4 + 2 + 256 + 4, ByteOrder::big);
        if (resource.text(4) != "8BIM")
            return false;
        const std::uint16_t id = resource.u16();
        const std::uint8_t nameLength = resource.u8();
        resource.skip(nameLength + (nameLength % 2 == 0 ? 1U : 0U)); // with its length byte an even number
        const std::uint32_t length = resource.u32();
        if (resource.failed())
            return false;
        const std::uint64_t data = offset + resource.position();
        if (id == exif)
            noteExif(file, data, image);
        else if (id == xmp)
            noteXmp(file, data, length, image);
        offset = data + length + (length & 1);
    }
    return offset >= end;
}

/// The part of a Photoshop file that holds the layers; `isBig` files have lengths of 64 bits.
class LayerSection {
public:
    LayerSection(HeaderBytes& file, std::uint64_t offset, bool isBig) : file_{file}, isBig_{isBig}
    {
        const std::uint64_t length = lengthAt(offset);
        begin_ = offset + lengthSize();
        end_ = begin_ + std::min(length, file_.size());
    }

    void read(SourceProperties& image)
    {
        if (begin_ > file_.size())
            return;
        if (begin_ == end_) {
            image.hasLayers = false;
            return;
        }
        const std::uint64_t infoLength = lengthAt(begin_);
        if (infoLength == 0)
            image.hasLayers = hasLayersInBlocks(begin_ + lengthSize());
        else
            readLayerCount(begin_ + lengthSize(), image);
    }

private:
    std::uint64_t lengthSize() const { return isBig_ ? 8 : 4; }

    std::uint64_t lengthAt(std::uint64_t offset)
    {
        ByteReader reader = file_.reader(offset, static_cast<std::size_t>(lengthSize()), ByteOrder::big);
        return isBig_ ? reader.u64() : reader.u32();
    }

    void readLayerCount(std::uint64_t offset, SourceProperties& image)
    {
        ByteReader reader = file_.reader(offset, 2, ByteOrder::big);
        const auto count = static_cast<std::int16_t>(reader.u16());
        if (reader.failed())
            return;
        image.hasLayers = count != 0;
        if (count < 0) // the first extra channel is the transparency of the merged image
            image.hasAlpha = true;
    }

    /// Deep images keep their layers in a tagged block behind the mask information.
    bool hasLayersInBlocks(std::uint64_t maskOffset)
    {
        constexpr int maxBlocks = 64;
        ByteReader mask = file_.reader(maskOffset, 4, ByteOrder::big);
        std::uint64_t offset = maskOffset + 4 + mask.u32();
        for (int i = 0; i < maxBlocks && offset + 12 <= end_; ++i) {
            ByteReader block = file_.reader(offset, 12, ByteOrder::big);
            block.skip(4);
            const std::string_view key = block.text(4);
            const std::uint64_t length = block.u32();
            if (block.failed())
                return false;
            if (key == "Layr" || key == "Lr16" || key == "Lr32")
                return length != 0 || isBig_;
            offset += 12 + (length + 3) / 4 * 4;
        }
        return false;
    }

    HeaderBytes& file_;
    bool isBig_;
    std::uint64_t begin_ = 0;
    std::uint64_t end_ = 0;
};

} // namespace

bool readPhotoshopHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(4, 26, ByteOrder::big);
    const std::uint16_t version = header.u16();
    header.skip(6);
    const std::uint16_t channels = header.u16();
    const std::uint32_t height = header.u32();
    const std::uint32_t width = header.u32();
    const std::uint16_t depth = header.u16();
    const std::uint16_t mode = header.u16();
    const std::uint32_t colourDataLength = header.u32();
    if (header.failed() || depth > 32 || !enterSize(width, height, image))
        return false;
    image.bitsPerComponent = depth;
    image.isFloatingPoint = depth == 32;
    image.hasAlpha = channels > colourChannels(mode);
    image.imageCount = 1;

    const std::uint64_t resources = 30 + std::uint64_t{colourDataLength};
    ByteReader resourceLength = file.reader(resources, 4, ByteOrder::big);
    const std::uint64_t layers = resources + 4 + resourceLength.u32();
    if (resourceLength.failed())
        return true;
    if (readResources(file, resources + 4, layers, image))
        image.hasLocation = image.hasLocation.value_or(false);
    LayerSection{file, layers, version == 2}.read(image);
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
