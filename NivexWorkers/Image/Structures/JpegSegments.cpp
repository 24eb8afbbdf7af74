#include "NivexWorkers/Image/Structures/JpegSegments.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>

namespace nivex::image {
namespace {

constexpr std::byte markerLead{0xFF};

bool isPartOfScan(std::byte marker)
{
    return marker == std::byte{} || marker == markerLead || (marker >= std::byte{0xD0} && marker <= std::byte{0xD7});
}

/// The first marker from `offset` on that ends a scan, or the end of the file.
std::uint64_t scanEnd(const ByteSource& file, std::uint64_t offset)
{
    constexpr std::size_t pieceBytes = 64 * 1024;
    for (;;) {
        const auto piece = file.read(offset, pieceBytes);
        if (piece.size() < 2)
            return file.size();
        for (auto lead = piece.begin(); (lead = std::find(lead, piece.end() - 1, markerLead)) != piece.end() - 1;
             ++lead)
            if (!isPartOfScan(*std::next(lead)))
                return offset + static_cast<std::uint64_t>(lead - piece.begin());
        offset += piece.size() - 1; // the last byte may be the first of a marker
    }
}

} // namespace

JpegSegments jpegSegments(const ByteSource& file)
{
    JpegSegments segments;
    while (segments.all.size() < 100'000) {
        const auto head = file.read(segments.end, 4);
        ByteReader reader{head, ByteOrder::big};
        const bool isMarker = reader.u8() == 0xFF;
        const std::uint8_t marker = reader.u8();
        const std::size_t length = reader.u16();
        if (isMarker && marker == 0xFF) { // markers may be preceded by any number of these
            ++segments.end;
            continue;
        }
        if (reader.failed() || !isMarker || marker < 0xC0 || (marker >= 0xD0 && marker <= 0xDA) || length < 2)
            break;
        segments.all.push_back({segments.end, marker, length - 2});
        segments.end = segments.all.back().end();
    }
    return segments;
}

std::uint64_t jpegPictureEnd(const ByteSource& file)
{
    std::uint64_t position = jpegSegments(file).end;
    while (position < file.size()) {
        const auto head = file.read(position, 4);
        ByteReader reader{head, ByteOrder::big};
        reader.skip(1);
        const std::uint8_t marker = reader.u8();
        const std::uint64_t length = reader.u16();
        if (marker == 0xD9)
            return position + 2;
        if (reader.failed())
            return file.size();
        position += 2 + length; // of tables between scans, or of a scan's header
        if (marker == 0xDA)
            position = scanEnd(file, position);
    }
    return file.size();
}

} // namespace nivex::image
