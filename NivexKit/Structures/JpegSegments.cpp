// ITU-T T.81, annex B.
#include "NivexKit/Structures/JpegSegments.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace nivex {
namespace {

constexpr std::byte markerLead{0xFF};
constexpr std::uint8_t startOfImage = 0xD8;
constexpr std::uint8_t endOfImage = 0xD9;
constexpr std::uint8_t startOfScan = 0xDA;

/// Markers of private use and restarts, and a beginning: nothing follows them.
bool standsAlone(std::uint8_t marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= startOfImage); }

bool isPartOfScan(std::byte marker)
{
    return marker == std::byte{} || marker == markerLead || (marker >= std::byte{0xD0} && marker <= std::byte{0xD7});
}

struct Marker {
    std::uint8_t code;
    std::optional<std::size_t> payload; // none when the file ends or no length can stand there
};

/// The marker at an offset; none where there is none.
std::optional<Marker> markerAt(const ByteSource& file, std::uint64_t offset)
{
    std::array<std::byte, 4> bytes;
    ByteReader reader{std::span{bytes}.first(file.read(offset, bytes)), ByteOrder::big};
    const bool isMarker = reader.u8() == 0xFF;
    const std::uint8_t code = reader.u8();
    if (!isMarker || reader.failed() || code == 0)
        return std::nullopt;
    const std::uint16_t length = reader.u16(); // with its own two bytes
    if (reader.failed() || length < 2)
        return Marker{code, std::nullopt};
    return Marker{code, length - 2U};
}

/// The first marker from `offset` on that ends a scan, or the end of the file.
std::uint64_t scanEnd(const ByteSource& file, std::uint64_t offset)
{
    constexpr std::size_t pieceBytes = 64 * 1024;
    std::vector<std::byte> buffer(pieceBytes);
    for (;;) {
        const auto piece = std::span{buffer}.first(file.read(offset, buffer));
        if (piece.size() < 2)
            return file.size();
        const auto last = piece.end() - 1;
        for (auto lead = piece.begin(); (lead = std::find(lead, last, markerLead)) != last; ++lead)
            if (!isPartOfScan(*std::next(lead)))
                return offset + static_cast<std::uint64_t>(lead - piece.begin());
        offset += piece.size() - 1; // the last byte may be the first of a marker
    }
}

} // namespace

std::optional<JpegSegment> JpegSegments::next()
{
    while (left_-- > 0) {
        const auto marker = markerAt(file_, position_);
        if (!marker || marker->code == endOfImage || marker->code == startOfScan)
            return std::nullopt;
        if (marker->code == 0xFF) { // markers may be preceded by any number of these
            ++position_;
            continue;
        }
        if (standsAlone(marker->code)) {
            position_ += 2;
            continue;
        }
        if (!marker->payload)
            return std::nullopt;
        const JpegSegment segment{position_, marker->code, *marker->payload};
        position_ = segment.end();
        return segment;
    }
    return std::nullopt;
}

bool JpegSegments::passScan()
{
    const auto marker = markerAt(file_, position_);
    if (!marker || marker->code != startOfScan || !marker->payload)
        return false;
    position_ = scanEnd(file_, position_ + 4 + *marker->payload);
    return true;
}

std::optional<std::uint64_t> JpegSegments::pictureEnd() const
{
    const auto marker = markerAt(file_, position_);
    return marker && marker->code == endOfImage ? std::optional{position_ + 2} : std::nullopt;
}

std::optional<std::uint64_t> jpegPictureEnd(const ByteSource& file, std::uint64_t start)
{
    JpegSegments segments{file, start};
    bool hasScan = false;
    do
        while (segments.next()) { // tables, also between scans
        }
    while (segments.passScan() && (hasScan = true));
    return hasScan ? segments.pictureEnd() : std::nullopt;
}

} // namespace nivex
