// Metadata in the image resources of PSD and PSB ("Adobe Photoshop File Formats").
#include "NivexWorkers/Image/Metadata/Containers.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <algorithm>

namespace nivex::image {

Metadata readPhotoshopMetadata(const ByteSource& file)
{
    Metadata metadata;
    constexpr std::uint64_t headerBytes = 26;
    const auto sizeAt = [&file](std::uint64_t offset) {
        const auto bytes = file.read(offset, 4);
        return std::size_t{ByteReader{bytes, ByteOrder::big}.u32()};
    };
    const std::uint64_t resources = headerBytes + 4 + sizeAt(headerBytes); // after the palette
    const auto blocks = file.read(resources + 4, std::min(sizeAt(resources), mostBlockBytes));
    forEachResource(blocks, [&](std::uint16_t identifier, std::span<const std::byte> contents) {
        if (identifier == photoshop::exif)
            metadata.exif.assign(contents.begin(), contents.end());
        else if (identifier == photoshop::xmp)
            metadata.xmp = asText(contents);
        else if (identifier == photoshop::iptc)
            metadata.iptc.assign(contents.begin(), contents.end());
    });
    return metadata;
}

} // namespace nivex::image
