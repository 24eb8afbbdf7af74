// Metadata in the image resources of PSD and PSB ("Adobe Photoshop File Formats").
#include "NivexWorkers/Image/Metadata/Containers.hpp"

#include "NivexKit/Structures/PhotoshopDocument.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <algorithm>

namespace nivex::image {

Metadata readPhotoshopMetadata(const ByteSource& file)
{
    Metadata metadata;
    const auto document = PhotoshopDocument::of(file);
    if (!document)
        return metadata;
    const auto& resources = document->resources;
    const auto blocks = file.read(resources.begin, std::min<std::uint64_t>(resources.size(), mostBlockBytes));
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
