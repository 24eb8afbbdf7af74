#include "NivexWorkers/Image/Metadata/Metadata.hpp"

#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace nivex::image {
namespace {

// Blocks that may lie inside Exif as tags of its main directory, where other programs would not look for them.
constexpr std::uint16_t xmpTag = 0x02BC;
constexpr std::uint16_t iptcTag = 0x83BB;
constexpr std::uint16_t photoshopTag = 0x8649;

/// The first packet with what only the second one says.
std::string united(std::string first, const std::string& second)
{
    const auto added = XmpPacket::parse(second);
    if (!added)
        return first;
    auto packet = XmpPacket::parse(first);
    if (!packet)
        return added->text();
    packet->addMissing(*added);
    return packet->text();
}

} // namespace

Metadata sorted(Metadata metadata)
{
    if (auto exif = ExifBlock::parse(std::exchange(metadata.exif, {}))) {
        for (const ExifBlock::Entry& entry : exif->mainDirectory())
            if (entry.tag == xmpTag && metadata.xmp.empty())
                metadata.xmp = asText(exif->value(entry));
            else if (entry.tag == iptcTag && metadata.iptc.empty())
                metadata.iptc.assign(exif->value(entry).begin(), exif->value(entry).end());
        for (const std::uint16_t tag : {xmpTag, iptcTag, photoshopTag})
            exif->removeFromMain(tag);
        if (!exif->mainDirectory().empty())
            metadata.exif = std::move(*exif).release();
    }
    const auto packet = XmpPacket::parse(metadata.xmp);
    metadata.xmp = packet ? packet->text() : std::string{};
    if (!asText(metadata.iptc).starts_with('\x1C'))
        metadata.iptc.clear();
    return metadata;
}

std::vector<std::byte> exifOfAtMost(std::size_t mostBytes, std::vector<std::byte> bytes)
{
    if (bytes.size() <= mostBytes)
        return bytes;
    if (auto exif = ExifBlock::parse(bytes)) {
        exif->removeThumbnail();
        if (exif->bytes().size() <= mostBytes)
            return std::move(*exif).release();
        bytes = rewrittenExif(exif->bytes(), exif->order(), true);
        if (bytes.empty() || bytes.size() > mostBytes)
            bytes = rewrittenExif(exif->bytes(), exif->order(), false);
    }
    return bytes.size() <= mostBytes ? bytes : std::vector<std::byte>{};
}

Metadata underPolicy(Metadata metadata, MetadataPolicy policy, const UprightPicture& picture)
{
    if (policy == MetadataPolicy::removeAll)
        return {};
    metadata = sorted(std::move(metadata));
    if (auto exif = ExifBlock::parse(std::exchange(metadata.exif, {}))) {
        exif->setUpright(picture.width, picture.height);
        if (picture.isChanged)
            exif->removeThumbnail();
        if (policy == MetadataPolicy::removeLocation)
            exif->removePosition();
        if (!exif->mainDirectory().empty())
            metadata.exif = std::move(*exif).release();
    }
    if (auto packet = XmpPacket::parse(metadata.xmp)) {
        packet->setUpright(picture.width, picture.height);
        if (picture.isChanged)
            packet->removeThumbnails();
        if (policy == MetadataPolicy::removeLocation)
            packet->removePosition();
        metadata.xmp = packet->text();
    }
    return metadata;
}

Metadata withoutIptc(Metadata metadata)
{
    const std::vector<std::byte> datasets = std::exchange(metadata.iptc, {});
    if (!datasets.empty())
        metadata.xmp = united(std::move(metadata.xmp), xmpOfIptc(datasets));
    return metadata;
}

std::string asXmp(const Metadata& metadata)
{
    std::string packet = withoutIptc(metadata).xmp;
    return metadata.exif.empty() ? packet : united(std::move(packet), xmpOfExif(metadata.exif));
}

} // namespace nivex::image
