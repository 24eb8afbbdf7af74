#include "NivexKit/Detection/Signatures/BinaryShapes.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace nivex::shapes {
namespace {

unsigned at(Bytes head, std::size_t position) { return std::to_integer<unsigned>(head[position]); }

std::string_view characters(Bytes head) { return {reinterpret_cast<const char*>(head.data()), head.size()}; }

/// Length of the ADTS frame that starts at `position`; 0 when none does.
std::size_t adtsFrameLength(Bytes head, std::size_t position)
{
    constexpr std::size_t headerLength = 7;
    constexpr unsigned reserved = 13; // and 14; 15 says that the rate stands elsewhere
    if (head.size() < headerLength || position > head.size() - headerLength)
        return 0;
    if (at(head, position) != 0xFF || (at(head, position + 1) & 0xF6) != 0xF0)
        return 0;
    if (const unsigned rate = at(head, position + 2) >> 2 & 0xF; rate == reserved || rate == reserved + 1)
        return 0;
    const std::size_t length =
        (at(head, position + 3) & 3) << 11 | at(head, position + 4) << 3 | at(head, position + 5) >> 5;
    return length < headerLength ? 0 : length;
}

/// Length of the MPEG audio frame that starts at `position`; 0 when none does. Layer I is left out: nobody stores it
/// in files, and its sync bytes are those of the UTF-16 byte-order mark.
std::size_t mpegAudioFrameLength(Bytes head, std::size_t position)
{
    constexpr std::array<std::array<unsigned, 15>, 3> kilobits = {{
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},  // version 1, layer III
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384}, // version 1, layer II
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},      // versions 2 and 2.5
    }};
    constexpr std::array<unsigned, 3> hertz = {44'100, 48'000, 32'000};

    if (head.size() < 4 || position > head.size() - 4)
        return 0;
    if (at(head, position) != 0xFF || (at(head, position + 1) & 0xE0) != 0xE0)
        return 0;
    const unsigned version = at(head, position + 1) >> 3 & 3; // 0: 2.5, 2: 2, 3: 1
    const unsigned layer = at(head, position + 1) >> 1 & 3;   // 1: III, 2: II
    const unsigned bitrate = at(head, position + 2) >> 4;
    const unsigned sampling = at(head, position + 2) >> 2 & 3;
    if (version == 1 || layer == 0 || layer == 3 || bitrate == 0 || bitrate == 15 || sampling == 3)
        return 0;
    const unsigned rate = hertz[sampling] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    const unsigned bits = kilobits[version == 3 ? layer - 1 : 2][bitrate] * 1000;
    const unsigned samplesInBytes = layer == 1 && version != 3 ? 72 : 144;
    return samplesInBytes * bits / rate + (at(head, position + 2) >> 1 & 1);
}

/// A byte that no text has, in whatever encoding of one byte or of several.
bool isNoText(std::byte each)
{
    return each < std::byte{0x20} && (each < std::byte{'\t'} || each > std::byte{'\r'}) && each != std::byte{0x1A} &&
           each != std::byte{0x1B};
}

/// True when every packet that starts within the head starts with the sync byte; one packet proves nothing.
bool hasPackets(Bytes head, std::size_t packetLength, std::size_t syncOffset)
{
    constexpr unsigned sync = 0x47;
    constexpr std::size_t enough = 5;
    std::size_t packets = 0;
    for (std::size_t position = syncOffset; position < head.size() && packets < enough; position += packetLength) {
        if (at(head, position) != sync)
            return false;
        ++packets;
    }
    return packets >= 2 && std::ranges::any_of(head, isNoText); // else text of unlucky line lengths
}

bool isOneOf(std::string_view brand, std::initializer_list<std::string_view> brands)
{
    return std::ranges::find(brands, brand) != brands.end();
}

/// True when one of the compatible brands of the `ftyp` box that opens the head is among `brands`.
bool isCompatible(Bytes head, std::initializer_list<std::string_view> brands)
{
    constexpr std::size_t firstBrand = 16;
    ByteReader box{head, ByteOrder::big};
    const std::size_t end = std::min<std::size_t>(box.u32(), head.size());
    for (std::size_t position = firstBrand; position + 4 <= end; position += 4)
        if (isOneOf(characters(head.subspan(position, 4)), brands))
            return true;
    return false;
}

bool isUnitOrZero(float x, float y, float z)
{
    const double length = std::sqrt(double{x} * x + double{y} * y + double{z} * z);
    return length < 1e-6 || std::abs(length - 1) < 0.02;
}

float realAt(ByteReader& reader) { return std::bit_cast<float>(reader.u32()); }

/// What the coordinates of facets are like. Rounding leaves some next to zero, but small integers that are read as
/// reals are all so.
struct Coordinates {
    int ordinary = 0;
    int nextToZero = 0;
};

bool isPlausibleFacet(ByteReader& reader, Coordinates& seen)
{
    constexpr float farthest = 1e9F;
    constexpr float nearest = 1e-12F;
    const float x = realAt(reader);
    const float y = realAt(reader);
    const float z = realAt(reader);
    if (!isUnitOrZero(x, y, z))
        return false;
    for (int coordinate = 0; coordinate < 9; ++coordinate) {
        const float value = std::abs(realAt(reader));
        if (!(value < farthest))
            return false;
        seen.ordinary += value >= nearest;
        seen.nextToZero += value > 0 && value < nearest;
    }
    reader.skip(2);
    return !reader.failed();
}

} // namespace

bool isAdtsFrame(Bytes head)
{
    const std::size_t length = adtsFrameLength(head, 0);
    if (length == 0)
        return false;
    constexpr unsigned rateElsewhere = 15;
    if (head.size() < length + 7) // an unusual header proves nothing alone
        return (at(head, 2) >> 2 & 0xF) != rateElsewhere;
    return adtsFrameLength(head, length) != 0 && head[length + 1] == head[1] &&
           (at(head, length + 2) & 0x3C) == (at(head, 2) & 0x3C);
}

bool isMpegAudioFrame(Bytes head)
{
    const std::size_t length = mpegAudioFrameLength(head, 0);
    if (length == 0)
        return false;
    if (head.size() < length + 4)
        return true;
    return mpegAudioFrameLength(head, length) != 0 && (at(head, 1) & 0xFE) == (at(head, length + 1) & 0xFE);
}

bool hasMpegAudioFrames(Bytes stream, int count)
{
    for (std::size_t position = 0; count > 0; --count) {
        const std::size_t length = mpegAudioFrameLength(stream, position);
        if (length == 0)
            return false;
        position += length;
    }
    return true;
}

bool isTransportStream(Bytes head)
{
    return hasPackets(head, 188, 0) || hasPackets(head, 204, 0); // with 16 bytes of error correction each
}

bool isTimestampedTransportStream(Bytes head) { return hasPackets(head, 192, 4); }

bool hasFontTables(Bytes head) { return head.size() < 6 || head[4] != std::byte{} || head[5] != std::byte{}; }

bool isEmbeddedOpenType(Bytes head)
{
    constexpr std::size_t mark = 34;
    return head.size() < mark + 2 || characters(head.subspan(mark, 2)) == "LP";
}

bool isIllustratorPostScript(Bytes head)
{
    const std::string_view text = characters(head);
    return text.substr(0, text.find_first_of("\r\n")).find("EPSF") == std::string_view::npos &&
           text.find("%%Creator: Adobe Illustrator") != std::string_view::npos;
}

bool isBinaryPly(Bytes head) { return characters(head).find("\nformat binary_") != std::string_view::npos; }

bool isBinaryStl(Bytes head)
{
    constexpr std::size_t title = 80;
    constexpr std::uint32_t mostFacets = 100'000'000;
    constexpr std::size_t facetLength = 50;
    constexpr std::uint32_t enough = 8;
    ByteReader reader{head};
    reader.skip(title);
    const std::uint32_t facets = reader.u32();
    if (reader.failed() || facets == 0 || facets > mostFacets)
        return false;
    const std::uint32_t checked = std::min(facets, enough);
    if (reader.left() < checked * facetLength)
        return false;
    Coordinates seen;
    for (std::uint32_t facet = 0; facet < checked; ++facet)
        if (!isPlausibleFacet(reader, seen))
            return false;
    return seen.ordinary > 0 && seen.ordinary >= seen.nextToZero;
}

bool isTarga(Bytes head)
{
    constexpr std::size_t headerLength = 18;
    if (head.size() <= headerLength)
        return false;
    ByteReader header{head};
    header.skip(1); // length of the image's own identification
    const unsigned mapKind = header.u8();
    const unsigned kind = header.u8();
    const unsigned mapStart = header.u16();
    const unsigned mapLength = header.u16();
    const unsigned mapDepth = header.u8();
    const unsigned left = header.u16();
    const unsigned bottom = header.u16();
    const unsigned width = header.u16();
    const unsigned height = header.u16();
    const unsigned depth = header.u8();
    const unsigned descriptor = header.u8();

    const unsigned alphaBits = descriptor & 0xF;
    if (width == 0 || height == 0 || (descriptor & 0xC0) != 0 || left != 0 || (bottom != 0 && bottom != height))
        return false;
    const unsigned plainKind = kind & ~8U; // 8: run-length encoded
    if (plainKind == 1)
        return mapKind == 1 && depth == 8 && mapStart < mapLength && mapLength <= 256 && alphaBits <= 8 &&
               (mapDepth == 15 || mapDepth == 16 || mapDepth == 24 || mapDepth == 32);
    if (mapKind != 0 || mapStart != 0 || mapLength != 0 || mapDepth != 0)
        return false;
    if (plainKind == 2)
        return (depth == 32 && (alphaBits == 0 || alphaBits == 8)) || (depth == 24 && alphaBits == 0) ||
               ((depth == 15 || depth == 16) && alphaBits <= 1);
    return plainKind == 3 && ((depth == 8 && alphaBits == 0) || (depth == 16 && (alphaBits == 0 || alphaBits == 8)));
}

std::string_view isoMediaFormats(Bytes head)
{
    constexpr std::string_view anyOfThem = "mp4 m4a m4v mov alac 3gp";
    if (head.size() < 12 || characters(head.subspan(4, 4)) != "ftyp")
        return anyOfThem;
    const std::string_view brand = characters(head.subspan(8, 4));
    if (isOneOf(brand, {"avif", "avis"}))
        return "avif";
    if (isOneOf(brand, {"heic", "heix", "hevc", "hevx", "heim", "heis"}))
        return "heic";
    if (isOneOf(brand, {"mif1", "msf1"})) {
        if (isCompatible(head, {"avif"}))
            return "avif";
        return isCompatible(head, {"heic", "heix", "hevc", "hevx"}) ? "heic" : "heif";
    }
    if (brand == "crx ")
        return "cr3";
    if (brand == "jp2 ")
        return "jp2";
    if (brand == "qt  ")
        return "mov";
    if (brand.starts_with("3g"))
        return "3gp";
    if (isOneOf(brand, {"M4A ", "M4B ", "M4P "}))
        return "m4a alac";
    if (isOneOf(brand, {"M4V ", "M4VH", "M4VP"}))
        return "m4v";
    // A picture whose own brand is one of few programs.
    if (isCompatible(head, {"avif", "avis"}))
        return "avif";
    if (isCompatible(head, {"heic", "heix", "heim", "heis"}))
        return "heic";
    return isCompatible(head, {"mif1", "msf1"}) ? "heif" : anyOfThem;
}

} // namespace nivex::shapes
