#include "NivexWorkers/Image/Codecs/Jpeg2000/Jpeg2000Boxes.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>
#include <string>

// Boxes: ISO/IEC 15444-1, annex I. Codestream: annex A.
namespace nivex::image {
namespace {

using File = Jpeg2000File;

constexpr std::size_t largestHeaderBox = 32u << 20; // jp2h with a profile and a palette is far smaller
constexpr std::size_t largestMainHeader = 8u << 20;
constexpr std::int64_t mostTileComponents = 1 << 20; // the decoder keeps a kilobyte for each
constexpr std::uint16_t mostComponents = 64;

/// The boxes inside a box.
template <class Visit>
void eachInnerBox(std::span<const std::byte> contents, Visit visit)
{
    const MemorySource source{contents};
    IsoBoxes boxes{source};
    while (const auto box = boxes.next())
        visit(box->type, contents.subspan(box->begin, box->size()));
    if (!boxes.reachedEnd())
        throw damaged("jp2h: its boxes do not fill it");
}

void readColors(std::span<const std::byte> box, File& file)
{
    if (file.colorSpace != File::ColorSpace::unknown)
        return; // the first that can be understood counts
    ByteReader reader{box, damaged("colr: too short"), ByteOrder::big};
    const std::uint8_t method = reader.u8();
    reader.skip(2);
    if (method == 1) {
        switch (reader.u32()) {
        case 12:
            file.colorSpace = File::ColorSpace::cmyk;
            break;
        case 16:
            file.colorSpace = File::ColorSpace::sRGB;
            break;
        case 17:
            file.colorSpace = File::ColorSpace::grey;
            break;
        case 18:
            file.colorSpace = File::ColorSpace::sYCC;
            break;
        default: // CIELab and others that hardly any file uses: as red, green and blue they would look wrong
            file.hasForeignColors = true;
        }
    } else if (method == 2 || method == 3) {
        file.colorSpace = File::ColorSpace::profile;
        file.profile = reader.text(reader.left());
    }
}

void readPalette(std::span<const std::byte> box, File::Palette& palette)
{
    ByteReader reader{box, damaged("pclr: too short"), ByteOrder::big};
    palette.rows = reader.u16();
    const std::size_t columns = reader.u8();
    if (palette.rows == 0 || palette.rows > 1024 || columns == 0)
        throw damaged("pclr: number of rows or columns");
    for (std::size_t i = 0; i < columns; ++i) {
        const std::uint8_t bits = reader.u8();
        if ((bits & 0x80) != 0 || bits > 15)
            throw damaged("pclr: bits of a column");
        palette.bits.push_back(bits + 1);
    }
    for (std::size_t i = 0; i < palette.rows * columns; ++i)
        palette.values.push_back(palette.bits[i % columns] > 8 ? reader.u16() : reader.u8());
}

void readMapping(std::span<const std::byte> box, File& file)
{
    ByteReader reader{box, damaged("cmap: too short"), ByteOrder::big};
    while (reader.left() >= 4 && file.channels.size() < mostComponents) {
        File::Channel channel{.component = reader.u16()};
        const bool isPaletted = reader.u8() == 1;
        const std::uint8_t column = reader.u8();
        if (isPaletted)
            channel.paletteColumn = column;
        file.channels.push_back(channel);
    }
}

struct ChannelDefinition {
    std::uint16_t channel;
    std::uint16_t kind;
    std::uint16_t association;
};

std::vector<ChannelDefinition> readDefinitions(std::span<const std::byte> box)
{
    ByteReader reader{box, damaged("cdef: too short"), ByteOrder::big};
    std::vector<ChannelDefinition> definitions(std::min<std::size_t>(reader.u16(), mostComponents));
    for (ChannelDefinition& each : definitions) {
        each.channel = reader.u16();
        each.kind = reader.u16();
        each.association = reader.u16();
    }
    return definitions;
}

/// Brings the channels into the order of the colours they stand for and says which is alpha.
void define(std::span<const ChannelDefinition> definitions, std::vector<File::Channel>& channels)
{
    using enum File::Channel::Kind;
    struct Placed {
        std::size_t rank;
        File::Channel channel;
    };
    std::vector<Placed> placed;
    for (std::size_t i = 0; i < channels.size(); ++i)
        placed.push_back({i, channels[i]});
    for (const ChannelDefinition& each : definitions) {
        if (each.channel >= placed.size())
            throw damaged("cdef: channel " + std::to_string(each.channel));
        Placed& of = placed[each.channel];
        if (each.kind == 0 && each.association >= 1 && each.association <= placed.size())
            of = {each.association - 1u, of.channel};
        else if (each.kind == 1 || each.kind == 2)
            of = {mostComponents, of.channel}, of.channel.kind = each.kind == 1 ? alpha : premultipliedAlpha;
        else
            of = {mostComponents + 1u, of.channel}, of.channel.kind = other;
    }
    std::ranges::stable_sort(placed, {}, &Placed::rank);
    std::ranges::transform(placed, channels.begin(), &Placed::channel);
}

double metres(ByteReader& reader, std::uint32_t numerator, std::uint32_t denominator)
{
    const auto exponent = static_cast<std::int8_t>(reader.u8());
    return denominator == 0 ? 0 : numerator * std::pow(10.0, exponent) / denominator;
}

void readResolution(std::span<const std::byte> box, File& file)
{
    eachInnerBox(box, [&](std::uint32_t type, std::span<const std::byte> contents) {
        if (type != boxType("resc") && type != boxType("resd"))
            return;
        ByteReader reader{contents, damaged(boxName(type) + ": too short"), ByteOrder::big};
        std::uint32_t numbers[4]; // vertical numerator and denominator, horizontal ones
        for (std::uint32_t& number : numbers)
            number = reader.u16();
        file.pixelsPerMetreY = metres(reader, numbers[0], numbers[1]);
        file.pixelsPerMetreX = metres(reader, numbers[2], numbers[3]);
    });
}

void readHeaderBox(const ByteSource& source, const IsoBox& box, File& file, std::vector<ChannelDefinition>& definitions)
{
    if (box.size() > largestHeaderBox)
        throw damaged("jp2h: too large");
    const auto contents = source.read(box.begin, static_cast<std::size_t>(box.size()));
    eachInnerBox(contents, [&](std::uint32_t type, std::span<const std::byte> inner) {
        if (type == boxType("colr"))
            readColors(inner, file);
        else if (type == boxType("pclr") && file.palette.rows == 0)
            readPalette(inner, file.palette);
        else if (type == boxType("cmap") && file.channels.empty())
            readMapping(inner, file);
        else if (type == boxType("cdef"))
            definitions = readDefinitions(inner);
        else if (type == boxType("res "))
            readResolution(inner, file);
    });
}

void readSize(ByteReader reader, File& file)
{
    reader.skip(2);
    file.endX = reader.u32();
    file.endY = reader.u32();
    file.originX = reader.u32();
    file.originY = reader.u32();
    const std::int64_t tileWidth = reader.u32();
    const std::int64_t tileHeight = reader.u32();
    const std::int64_t tileX = reader.u32();
    const std::int64_t tileY = reader.u32();
    const std::uint16_t count = reader.u16();
    if (file.originX >= file.endX || file.originY >= file.endY || tileWidth == 0 || tileHeight == 0 ||
        tileX > file.originX || tileY > file.originY || tileX + tileWidth <= file.originX ||
        tileY + tileHeight <= file.originY || count == 0 || count > mostComponents)
        throw damaged("SIZ: picture or tile area");
    file.tilesAcross = (file.endX - tileX + tileWidth - 1) / tileWidth;
    file.tilesDown = (file.endY - tileY + tileHeight - 1) / tileHeight;
    if (file.tilesAcross > 65'535 || file.tilesDown > 65'535 || file.tilesAcross * file.tilesDown > 65'535 ||
        file.tilesAcross * file.tilesDown * count > mostTileComponents)
        throw damaged("SIZ: too many tiles");
    for (int i = 0; i < count; ++i) {
        const std::uint8_t depth = reader.u8();
        const std::uint8_t stepX = reader.u8();
        const std::uint8_t stepY = reader.u8();
        if ((depth & 0x7F) > 30 || stepX == 0 || stepY == 0)
            throw damaged("SIZ: depth or sub-sampling of a component");
        file.components.push_back(
            {.bits = (depth & 0x7F) + 1, .isSigned = (depth & 0x80) != 0, .stepX = stepX, .stepY = stepY});
    }
}

constexpr std::uint16_t startOfCodestream = 0xFF4F;
constexpr std::uint16_t imageSize = 0xFF51;
constexpr std::uint16_t codingStyle = 0xFF52;
constexpr std::uint16_t startOfTilePart = 0xFF90;
constexpr std::uint16_t endOfCodestream = 0xFFD9;

/// Reads the main header and returns where the first tile-part begins.
std::uint64_t readMainHeader(const ByteSource& source, File& file)
{
    const std::uint64_t all = file.codestreamEnd - file.codestreamBegin;
    const auto head =
        source.read(file.codestreamBegin, static_cast<std::size_t>(std::min<std::uint64_t>(all, largestMainHeader)));
    ByteReader reader{head, damaged("codestream: ends inside the main header"), ByteOrder::big};
    if (reader.u16() != startOfCodestream)
        throw damaged("codestream: no SOC");
    for (;;) {
        const std::uint16_t marker = reader.u16();
        if (marker == startOfTilePart)
            break;
        const std::uint16_t length = reader.u16();
        if (marker < 0xFF00 || length < 2)
            throw damaged("main header: no marker at " + std::to_string(file.codestreamBegin + reader.position() - 4));
        const auto contents = reader.bytes(length - 2u);
        ByteReader segment{contents, damaged("main header: segment too short"), ByteOrder::big};
        if (marker == imageSize && file.components.empty()) {
            readSize(segment, file);
        } else if (marker == codingStyle) {
            segment.skip(5);
            file.resolutionLevels = segment.u8();
        }
    }
    if (file.components.empty())
        throw damaged("main header: no SIZ");
    return file.codestreamBegin + reader.position() - 2;
}

/// Follows the tile-parts from one to the next up to the end marker.
void requireWholeCodestream(const ByteSource& source, const File& file, std::uint64_t position)
{
    std::set<std::uint16_t> tiles;
    for (;;) {
        const auto head =
            source.read(position, static_cast<std::size_t>(std::min<std::uint64_t>(12, file.codestreamEnd - position)));
        ByteReader reader{head, damaged("codestream: ends before EOC"), ByteOrder::big};
        const std::uint16_t marker = reader.u16();
        if (marker == endOfCodestream)
            break;
        if (marker != startOfTilePart || reader.u16() != 10)
            throw damaged("no SOT at " + std::to_string(position));
        tiles.insert(reader.u16());
        const std::uint64_t length = reader.u32();
        const std::uint64_t left = file.codestreamEnd - position;
        if (length == 0) { // up to the end marker
            const auto tail = source.read(file.codestreamEnd - 2, 2);
            if (left < 14 || ByteReader{tail, ByteOrder::big}.u16() != endOfCodestream)
                throw damaged("tile-part at " + std::to_string(position) + ": no EOC at the end of the file");
            break;
        }
        if (length < 14 || length > left)
            throw damaged("tile-part at " + std::to_string(position) + ": length " + std::to_string(length));
        position += length;
    }
    if (std::ssize(tiles) != file.tilesAcross * file.tilesDown)
        throw damaged("codestream: tiles are missing");
}

/// The channels where no box names them: alpha follows the colours, as nearly every writer has it.
void completeChannels(File& file, bool areDefined)
{
    using enum File::Channel::Kind;
    if (areDefined)
        return;
    const std::size_t colors = file.colorSpace == File::ColorSpace::grey   ? 1
                               : file.colorSpace == File::ColorSpace::cmyk ? 4
                               : file.channels.size() < 3                  ? 1
                                                                           : 3;
    const std::size_t alphaAt = colorsOfProfile(file.profile) == ProfileColors::cmyk ? 4 : colors;
    for (std::size_t i = alphaAt; i < file.channels.size(); ++i)
        file.channels[i].kind = i == alphaAt && file.channels.size() == alphaAt + 1 ? alpha : other;
}

void requireChannels(const File& file)
{
    for (const File::Channel& channel : file.channels)
        if (channel.component >= file.components.size() ||
            (channel.paletteColumn && *channel.paletteColumn >= file.palette.bits.size()))
            throw damaged("cmap: channel without component or palette column");
}

std::int64_t samples(std::int64_t begin, std::int64_t end, std::int64_t step)
{
    return (end + step - 1) / step - (begin + step - 1) / step;
}

} // namespace

int File::stepX() const { return std::ranges::min(components, {}, &Component::stepX).stepX; }

int File::stepY() const { return std::ranges::min(components, {}, &Component::stepY).stepY; }

std::int64_t File::width() const { return samples(originX, endX, stepX()); }

std::int64_t File::height() const { return samples(originY, endY, stepY()); }

Jpeg2000File readJpeg2000File(const ByteSource& source)
{
    File file;
    std::vector<ChannelDefinition> definitions;
    const auto head = source.read(0, 2);
    if (ByteReader{head, ByteOrder::big}.u16() == startOfCodestream) {
        file.codestreamEnd = source.size();
    } else {
        IsoBoxes boxes{source};
        while (file.codestreamEnd == 0) {
            const auto box = boxes.next();
            if (!box)
                throw damaged("no jp2c");
            if (box->type == boxType("jp2h"))
                readHeaderBox(source, *box, file, definitions);
            else if (box->type == boxType("jp2c"))
                file.codestreamBegin = box->begin, file.codestreamEnd = box->end;
        }
    }
    if (file.codestreamEnd - file.codestreamBegin < 2)
        throw damaged("codestream: empty");
    const std::uint64_t tileParts = readMainHeader(source, file);
    requireWholeCodestream(source, file, tileParts);

    if (file.palette.rows == 0 || file.channels.empty()) {
        file.channels.clear();
        for (std::size_t i = 0; i < file.components.size(); ++i)
            file.channels.push_back({.component = static_cast<std::uint16_t>(i)});
    }
    if (file.hasForeignColors && file.colorSpace == File::ColorSpace::unknown)
        throw ConversionError::unsupported("la façon dont ce fichier décrit ses couleurs"_fr);
    requireChannels(file);
    define(definitions, file.channels);
    completeChannels(file, !definitions.empty());
    return file;
}

namespace {

void putHeaderBoxes(const Jpeg2000Head& head, ByteWriter& out)
{
    putBox(out, "ihdr", [&](ByteWriter& box) {
        box.u32(head.height).u32(head.width).u16(head.components).u8(static_cast<std::uint8_t>(head.bits - 1));
        box.u8(7);  // the only compression
        box.u16(0); // the colours are known, no rights are stored
    });
    putBox(out, "colr", [&](ByteWriter& box) {
        const bool isGrey = head.components < 3;
        box.u8(head.profile.empty() ? 1 : 2).u16(0);
        if (head.profile.empty())
            box.u32(isGrey ? 17 : 16);
        else
            box.text(head.profile);
    });
    const bool hasAlpha = head.components % 2 == 0;
    if (hasAlpha)
        putBox(out, "cdef", [&](ByteWriter& box) {
            box.u16(head.components);
            for (std::uint16_t i = 0; i < head.components; ++i) {
                const bool isAlpha = i == head.components - 1;
                box.u16(i).u16(isAlpha ? 1 : 0).u16(isAlpha ? 0 : static_cast<std::uint16_t>(i + 1));
            }
        });
    if (head.pixelsPerMetreX > 0 && head.pixelsPerMetreY > 0)
        putBox(out, "res ", [&](ByteWriter& box) {
            putBox(box, "resd", [&](ByteWriter& numbers) {
                for (const double value : {head.pixelsPerMetreY, head.pixelsPerMetreX})
                    numbers.u16(static_cast<std::uint16_t>(std::clamp(std::round(value), 1.0, 65'535.0))).u16(1);
                numbers.u16(0); // both exponents
            });
        });
}

} // namespace

std::string jpeg2000Head(const Jpeg2000Head& head, std::uint64_t codestreamBytes)
{
    ByteWriter file{ByteOrder::big};
    putBox(file, "jP  ", [](ByteWriter& box) { box.text("\r\n\x87\n"); });
    putBox(file, "ftyp", [](ByteWriter& box) { box.text("jp2 ").u32(0).text("jp2 "); });
    putBox(file, "jp2h", [&](ByteWriter& box) { putHeaderBoxes(head, box); });
    const std::uint64_t length = codestreamBytes + 8;
    file.u32(length > 0xFFFF'FFFF ? 0 : static_cast<std::uint32_t>(length)); // 0: up to the end of the file
    file.text("jp2c");
    return std::string{file.view()};
}

} // namespace nivex::image
