// Metadata out of JPEG (ITU-T T.81, annex B; JFIF 1.02). All of them: segments go, and what stands behind the picture.
// The position alone: everything stays where it is, since pictures behind the first one (CIPA DC-007, depth maps, maps
// of gain) are found by their distance from it.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/JpegBlocks.hpp"
#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"
#include "NivexWorkers/Image/Removal/Overwriting.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace nivex::image {
namespace {

using namespace jpegblock;

constexpr std::uint8_t app0 = 0xE0;
constexpr std::uint8_t app1 = 0xE1;
constexpr std::uint8_t app2 = 0xE2;
constexpr std::uint8_t app6 = 0xE6;
constexpr std::uint8_t app11 = 0xEB;
constexpr std::uint8_t app14 = 0xEE;
constexpr std::uint8_t app15 = 0xEF;
constexpr std::uint8_t comment = 0xFE;
constexpr std::uint64_t markerBytes = 2;

bool begins(const ByteSource& file, const JpegSegment& segment, std::string_view text, std::size_t offset = 0)
{
    return segment.payload >= offset + text.size() && asText(file.read(segment.data() + offset, text.size())) == text;
}

/// True for what a decoder needs to show the picture as it is meant: everything but what programs tell (APPn, COM), and
/// of that the density, the profile and Adobe's word on the colours.
bool shapesPicture(const ByteSource& file, const JpegSegment& segment)
{
    switch (segment.marker) {
    case app0:
        return begins(file, segment, "JFIF\0"sv);
    case app2:
        return begins(file, segment, "ICC_PROFILE\0"sv);
    case app14:
        return begins(file, segment, "Adobe");
    default:
        return segment.marker != comment && (segment.marker < app0 || segment.marker > app15);
    }
}

/// Of JFIF without the small picture that may be in it.
void copyShaping(FilePieces& pieces, const ByteSource& file, const JpegSegment& segment)
{
    constexpr std::size_t bytesBesidePicture = 14;
    constexpr std::size_t bytesBeforeItsSize = 12;
    if (segment.marker != app0 || segment.payload <= bytesBesidePicture)
        return pieces.copy(segment.offset, segment.end() - segment.offset);
    const auto kept = file.read(segment.data(), bytesBeforeItsSize);
    pieces.add(jpegSegment(app0, asText(kept), "\0\0"sv));
}

/// Where something stands behind zeros, of which writers put a few between pictures.
std::uint64_t behindZeros(const ByteSource& file, std::uint64_t offset)
{
    constexpr std::size_t mostZeros = 64 * 1024;
    const auto bytes = file.read(offset, mostZeros);
    const auto other = std::ranges::find_if(bytes, [](std::byte each) { return each != std::byte{}; });
    return offset + static_cast<std::uint64_t>(other - bytes.begin());
}

/// Says so where something stands behind the end of what is kept.
FilePieces upTo(std::uint64_t end, const ByteSource& file, FilePieces pieces)
{
    if (behindZeros(file, end) < file.size())
        pieces.leaveTail();
    return pieces;
}

FilePieces withoutAll(const ByteSource& file)
{
    FilePieces pieces;
    pieces.copy(0, markerBytes);
    const auto orientation = onlyOrientation(readJpegMetadata(file).exif);
    bool isTurnTold = orientation.empty();
    JpegSegments segments{file};
    bool hasScan = false;
    for (std::uint64_t scan = 0;; pieces.copy(scan, segments.position() - scan), hasScan = true) {
        while (const auto segment = segments.next()) {
            if (segment->marker != app0 && !std::exchange(isTurnTold, true)) // where readers look for it
                pieces.add(jpegSegment(app1, exifLead, asText(orientation)));
            if (shapesPicture(file, *segment))
                copyShaping(pieces, file, *segment);
        }
        scan = segments.position();
        if (!segments.passScan())
            break;
    }
    const auto end = segments.pictureEnd();
    if (!end || !hasScan)
        throw damaged("JPEG: no scan or no end of image");
    pieces.copy(*end - markerBytes, markerBytes);
    return upTo(*end, file, std::move(pieces));
}

/// Takes the position out of the segments of one picture, byte for byte where they stand.
class PositionEraser {
public:
    PositionEraser(const ByteSource& file, Overwriting& changes) : file_{file}, changes_{changes} {}

    void clean(std::uint64_t picture)
    {
        JpegSegments segments{file_, picture};
        do
            while (const auto segment = segments.next())
                cleanSegment(*segment);
        while (segments.passScan());
        for (const auto& [identifier, parts] : extensions_)
            cleanExtension(parts);
        extensions_.clear();
    }

private:
    /// A part of a packet, by where it belongs in it.
    struct Part {
        std::uint64_t place; // in the file
        std::string text;
    };
    using Parts = std::map<std::uint32_t, Part>;

    void cleanSegment(const JpegSegment& segment)
    {
        const std::string_view lead = jpegBlockLead(file_, segment);
        const std::uint64_t place = segment.data() + lead.size();
        const std::size_t count = segment.payload - lead.size();
        if (lead == exifLead)
            change(place, file_.read(place, count), exifWithoutPosition);
        else if (lead == photoshopLead)
            change(place, file_.read(place, count), resourcesWithoutPosition);
        else if (lead == xmpLead)
            change(place, file_.read(place, count),
                   [](const std::vector<std::byte>& packet) { return asBytes(xmpWithoutPosition(asText(packet))); });
        else if (lead == extensionLead)
            takePart(place, file_.read(place, count));
        else if (mayTellPosition(segment))
            changes_.erase(segment.data(), segment.payload);
    }

    /// Of what is no block with a published structure: manifests and the telemetry of action cameras.
    bool mayTellPosition(const JpegSegment& segment) const
    {
        constexpr std::size_t beforeBoxType = 12; // ISO/IEC 19566-5: identifier, instance, number, size of the box
        return (segment.marker == app11 && begins(file_, segment, "jumb", beforeBoxType)) ||
               (segment.marker == app6 && begins(file_, segment, "GoPro\0"sv));
    }

    template <class Without>
    void change(std::uint64_t place, const std::vector<std::byte>& block, Without without)
    {
        if (const auto left = without(block); left != block)
            changes_.put(place, asText(left));
    }

    void takePart(std::uint64_t place, const std::vector<std::byte>& bytes)
    {
        constexpr std::size_t identifierBytes = 32;
        ByteReader reader{bytes, ByteOrder::big};
        const std::string identifier{reader.text(identifierBytes)};
        reader.skip(4); // the size of the whole
        const std::uint32_t offset = reader.u32();
        const std::uint64_t begin = place + reader.position();
        if (!reader.failed())
            extensions_[identifier].try_emplace(offset, Part{begin, std::string{reader.text(reader.left())}});
    }

    void cleanExtension(const Parts& parts)
    {
        std::string whole;
        for (const auto& [offset, part] : parts)
            if (offset == whole.size())
                whole += part.text;
        const std::string left = xmpWithoutPosition(whole);
        for (const auto& [offset, part] : parts) {
            const bool isPartOfWhole = offset <= whole.size() && part.text.size() <= whole.size() - offset;
            const std::string text =
                isPartOfWhole ? left.substr(offset, part.text.size()) : std::string(part.text.size(), ' ');
            if (text != part.text)
                changes_.put(part.place, text);
        }
    }

    const ByteSource& file_;
    Overwriting& changes_;
    std::map<std::string, Parts> extensions_;
};

FilePieces withoutPosition(const ByteSource& file)
{
    constexpr std::string_view beginning = "\xFF\xD8\xFF";
    Overwriting changes;
    PositionEraser eraser{file, changes};
    std::uint64_t picture = 0;
    std::uint64_t end = 0; // behind the last whole picture; what follows could be anything
    while (const auto pictureEnd = jpegPictureEnd(file, picture)) {
        eraser.clean(picture);
        end = *pictureEnd;
        picture = behindZeros(file, end);
        if (asText(file.read(picture, beginning.size())) != beginning)
            break;
    }
    if (end == 0)
        throw damaged("JPEG: no scan or no end of image");
    return upTo(end, file, changes.pieces(end));
}

} // namespace

FilePieces jpegWithoutMetadata(const ByteSource& file, MetadataPolicy policy)
{
    return policy == MetadataPolicy::removeAll ? withoutAll(file) : withoutPosition(file);
}

} // namespace nivex::image
