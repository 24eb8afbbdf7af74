// Metadata out of PNG (PNG, Third Edition, W3C): chunks go, are replaced or stay. None is found by its distance from
// another.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"
#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace nivex::image {
namespace {

/// True for a chunk without which the picture shows otherwise.
bool shapesPicture(std::string_view type)
{
    constexpr std::string_view shaping[] = {"tRNS", "gAMA", "cHRM", "sRGB", "iCCP", "cICP", "mDCV",
                                            "mDCv", "cLLI", "cLLi", "sBIT", "bKGD", "hIST", "pHYs",
                                            "oFFs", "sPLT", "acTL", "fcTL", "fdAT"};
    const bool isCritical = type.front() >= 'A' && type.front() <= 'Z';
    return isCritical || std::ranges::find(shaping, type) != std::end(shaping);
}

/// True for a keyword under which programs write a coordinate ("exif:GPSLatitude"), or a block that may hold some.
bool mayTellPosition(std::string_view keyword)
{
    constexpr std::string_view blocks[] = {"xml:com.adobe.xmp", "raw profile type exif", "raw profile type app1",
                                           "raw profile type xmp"};
    const std::string low = asciiLowercased(keyword);
    return std::ranges::find(blocks, low) != std::end(blocks) || namesPosition(low.substr(low.rfind(':') + 1));
}

bool isText(std::string_view type) { return type == "tEXt" || type == "zTXt" || type == "iTXt"; }

bool stays(const ByteSource& file, const PngChunk& chunk, MetadataPolicy policy)
{
    constexpr std::size_t longestKeyword = 79;
    if (policy == MetadataPolicy::removeAll)
        return shapesPicture(chunk.type);
    // iDOT tells distances between chunks, for decoders that read a picture's halves side by side.
    if (chunk.type == "eXIf" || chunk.type == "iDOT" || isManifestChunk(chunk.type))
        return false;
    if (!isText(chunk.type))
        return true;
    const auto head = file.read(chunk.data(), std::min(chunk.count, longestKeyword + 1));
    return !mayTellPosition(asText(head).substr(0, asText(head).find('\0')));
}

Metadata staying(Metadata metadata, MetadataPolicy policy)
{
    if (policy == MetadataPolicy::removeAll)
        return {.exif = onlyOrientation(std::move(metadata.exif)), .xmp = {}, .iptc = {}};
    metadata = sorted(std::move(metadata));
    if (!metadata.exif.empty())
        metadata.exif = exifWithoutPosition(std::move(metadata.exif));
    if (!metadata.xmp.empty())
        metadata.xmp = xmpWithoutPosition(metadata.xmp);
    return metadata;
}

void add(FilePieces& pieces, const Metadata& metadata)
{
    if (!metadata.exif.empty())
        pieces.add(pngChunk("eXIf", asText(metadata.exif)));
    if (!metadata.xmp.empty())
        pieces.add(pngXmpChunk(metadata.xmp));
}

} // namespace

FilePieces pngWithoutMetadata(const ByteSource& file, MetadataPolicy policy)
{
    const Metadata metadata = staying(readPngMetadata(file), policy);
    FilePieces pieces;
    pieces.copy(0, pngSignature.size());
    bool hasPixels = false;
    PngChunks chunks{file};
    while (const auto next = chunks.next()) {
        if (next->type == "IDAT" && !std::exchange(hasPixels, true))
            add(pieces, metadata); // in front of the pixels: many programs look no further
        if (stays(file, *next, policy))
            pieces.copy(next->offset, next->end() - next->offset);
        if (next->type == "IEND" && hasPixels)
            return pieces;
    }
    throw damaged("PNG: no IDAT or no IEND");
}

} // namespace nivex::image
