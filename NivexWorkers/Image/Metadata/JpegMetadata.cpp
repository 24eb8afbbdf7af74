// Metadata in the segments of JPEG: Exif 2.32 (4.7.2), Adobe's XMP "Storage in Files" (1.1.3) and Adobe's APP13.
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"
#include "NivexWorkers/Image/Metadata/JpegBlocks.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <algorithm>
#include <map>
#include <vector>

namespace nivex::image {
namespace {

using namespace jpegblock;

constexpr std::uint8_t app0 = 0xE0;
constexpr std::uint8_t app1 = 0xE1;
constexpr std::uint8_t app13 = 0xED;
constexpr std::size_t mostPayload = 65'533;

std::vector<std::byte> payloadOf(const ByteSource& file, const JpegSegment& segment)
{
    return file.read(segment.data(), segment.payload);
}

/// The parts of an extended packet, by where they belong in it.
using Parts = std::map<std::size_t, std::string>;

/// The packet with what continues it elsewhere; without, when that is incomplete.
std::string withExtension(const std::string& text, const std::map<std::string, Parts, std::less<>>& extensions)
{
    auto packet = XmpPacket::parse(text);
    const auto identifier = packet ? packet->extensionIdentifier() : std::nullopt;
    if (!identifier)
        return text;
    packet->removeExtensionIdentifier();
    std::string continued;
    if (const auto parts = extensions.find(*identifier); parts != extensions.end())
        for (const auto& [offset, part] : parts->second) {
            if (offset != continued.size())
                break;
            continued += part;
        }
    if (const auto extension = XmpPacket::parse(continued))
        packet->addMissing(*extension);
    return packet->text();
}

std::string extensionSegments(std::string_view main, std::string_view extension)
{
    std::string segments;
    const auto packet = XmpPacket::parse(main);
    const auto identifier = packet ? packet->extensionIdentifier() : std::nullopt;
    if (!identifier)
        return segments;
    const std::size_t mostPart = mostPayload - extensionLead.size() - identifier->size() - 8;
    for (std::size_t offset = 0; offset < extension.size(); offset += mostPart) {
        ByteWriter head{ByteOrder::big};
        head.text(extensionLead)
            .text(*identifier)
            .u32(static_cast<std::uint32_t>(extension.size()))
            .u32(static_cast<std::uint32_t>(offset));
        segments += jpegSegment(app1, head.view(), extension.substr(offset, mostPart));
    }
    return segments;
}

std::string metadataSegments(const Metadata& metadata)
{
    std::string segments;
    if (const auto exif = exifOfAtMost(mostPayload - exifLead.size(), metadata.exif); !exif.empty())
        segments += jpegSegment(app1, exifLead, asText(exif));
    if (!metadata.xmp.empty())
        if (const auto packet = XmpPacket::parse(metadata.xmp))
            if (const auto halves = packet->split(mostPayload - xmpLead.size())) {
                segments += jpegSegment(app1, xmpLead, halves->main);
                segments += extensionSegments(halves->main, halves->extension);
            }
    if (!metadata.iptc.empty()) {
        const auto block = resourceBlock(photoshop::iptc, metadata.iptc);
        // A block may go on in the next segment.
        const std::size_t mostPart = mostPayload - photoshopLead.size();
        for (std::size_t offset = 0; offset < block.size(); offset += mostPart)
            segments += jpegSegment(app13, photoshopLead, asText(block).substr(offset, mostPart));
    }
    return segments;
}

} // namespace

std::string_view jpegBlockLead(const ByteSource& file, const JpegSegment& segment)
{
    const auto leads = segment.marker == app1    ? std::vector{exifLead, xmpLead, extensionLead}
                       : segment.marker == app13 ? std::vector{photoshopLead}
                                                 : std::vector<std::string_view>{};
    if (leads.empty())
        return {};
    const auto begin = file.read(segment.data(), std::min(segment.payload, extensionLead.size()));
    for (const std::string_view lead : leads)
        if (asText(begin).starts_with(lead))
            return lead;
    return {};
}

std::string jpegSegment(std::uint8_t marker, std::string_view lead, std::string_view rest)
{
    ByteWriter writer{ByteOrder::big};
    writer.u8(0xFF).u8(marker).u16(static_cast<std::uint16_t>(lead.size() + rest.size() + 2)).text(lead).text(rest);
    return std::string{writer.view()};
}

Metadata readJpegMetadata(const ByteSource& file)
{
    Metadata metadata;
    std::map<std::string, Parts, std::less<>> extensions;
    std::size_t extensionBytes = 0;
    std::vector<std::byte> resources;
    JpegSegments segments{file};
    while (const auto segment = segments.next()) {
        const std::string_view lead = jpegBlockLead(file, *segment);
        if (lead.empty())
            continue;
        const auto payload = payloadOf(file, *segment);
        if (payload.size() < segment->payload)
            break;
        const auto rest = std::span{payload}.subspan(lead.size());
        if (lead == exifLead && metadata.exif.empty())
            metadata.exif.assign(rest.begin(), rest.end());
        else if (lead == xmpLead && metadata.xmp.empty())
            metadata.xmp = asText(rest);
        else if (lead == photoshopLead && resources.size() < mostBlockBytes)
            resources.insert(resources.end(), rest.begin(), rest.end());
        else if (lead == extensionLead && extensionBytes < mostBlockBytes) {
            ByteReader reader{rest, ByteOrder::big};
            const std::string identifier{reader.text(32)};
            reader.skip(4); // the size of the whole
            const std::size_t offset = reader.u32();
            extensions[identifier][offset] = reader.text(reader.left());
            extensionBytes += rest.size();
        }
    }
    forEachResource(resources, [&](std::uint16_t identifier, std::span<const std::byte> contents) {
        if (identifier == photoshop::iptc && metadata.iptc.empty())
            metadata.iptc.assign(contents.begin(), contents.end());
    });
    metadata.xmp = withExtension(metadata.xmp, extensions);
    return metadata;
}

void writeJpegMetadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    JpegSegments segments{file.old()};
    // What says how to decode (JFIF) comes first; what the encoder said about the picture goes.
    std::uint64_t begin = segments.position();
    auto next = segments.next();
    if (next && next->marker == app0) {
        begin = next->end();
        next = segments.next();
    }
    file.copy(0, begin);
    file.write(metadataSegments(metadata));
    for (; next; next = segments.next())
        if (jpegBlockLead(file.old(), *next).empty())
            file.copy(next->offset, next->end() - next->offset);
    file.copyRest(segments.position());
    file.commit();
}

} // namespace nivex::image
