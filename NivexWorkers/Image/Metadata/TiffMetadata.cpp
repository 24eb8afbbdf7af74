// Metadata in TIFF (TIFF 6.0), where Exif lies among the directories of the picture itself.
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace nivex::image {
namespace {

constexpr std::uint16_t typeByte = 1;
constexpr std::uint16_t typeLong = 4;
constexpr std::uint16_t typeUndefined = 7;
constexpr std::uint16_t stripOffsets = 273;
constexpr std::uint16_t tileOffsets = 324;
constexpr std::uint16_t xmpTag = 700;
constexpr std::uint16_t iptcTag = 33'723;
constexpr std::size_t headerBytes = 8;

struct Entry {
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;               // four bytes as they lie there: the value or where it is
    std::vector<std::uint32_t> places; // of strips and tiles, instead of the value
};

struct Directory {
    std::map<std::uint16_t, Entry> entries; // in the order of their tags, as the format demands
    std::uint32_t next = 0;
};

/// All directories of a file of ours and what has to be known to move them.
struct Pages {
    ByteOrder order;
    std::vector<Directory> directories;
};

std::size_t typeBytes(std::uint16_t type)
{
    const std::size_t size = tiffValueSize(type);
    if (size == 0)
        throw metadataFailure();
    return size;
}

std::vector<std::uint32_t> placesOf(const ByteSource& file, ByteOrder order, const Entry& entry,
                                    std::uint64_t entryPosition)
{
    const std::size_t width = typeBytes(entry.type);
    if (width != 2 && width != 4)
        throw metadataFailure();
    const std::size_t bytes = width * entry.count;
    if (bytes > mostBlockBytes)
        throw metadataFailure();
    const auto values = file.read(bytes <= 4 ? entryPosition + 8 : entry.value, bytes);
    ByteReader reader{values, metadataFailure(), order};
    std::vector<std::uint32_t> places(entry.count);
    for (std::uint32_t& place : places)
        place = width == 2 ? reader.u16() : reader.u32();
    return places;
}

Directory directoryAt(const ByteSource& file, ByteOrder order, std::uint64_t offset)
{
    const auto countBytes = file.read(offset, 2);
    const std::size_t count = ByteReader{countBytes, metadataFailure(), order}.u16();
    const auto bytes = file.read(offset + 2, count * 12 + 4);
    ByteReader reader{bytes, metadataFailure(), order};
    Directory directory;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t tag = reader.u16();
        Entry entry{.type = reader.u16(), .count = reader.u32(), .value = reader.u32(), .places = {}};
        if (tag == stripOffsets || tag == tileOffsets)
            entry.places = placesOf(file, order, entry, offset + 2 + i * 12);
        directory.entries.emplace(tag, std::move(entry));
    }
    directory.next = reader.u32();
    return directory;
}

/// Of which the block knows best: not every reader of pictures tells it to their writer.
bool isResolution(std::uint16_t tag) { return tag == 282 || tag == 283 || tag == 296; }

/// None for a file with offsets of 64 bits.
std::optional<Pages> pagesOf(const ByteSource& file)
{
    const auto header = file.read(0, headerBytes);
    ByteReader reader{header, metadataFailure()};
    Pages pages{.order = reader.text(2) == "MM" ? ByteOrder::big : ByteOrder::little, .directories = {}};
    reader.setOrder(pages.order);
    if (reader.u16() != 42)
        return std::nullopt;
    for (std::uint32_t next = reader.u32(); next != 0; next = pages.directories.back().next) {
        if (pages.directories.size() > 1'000'000)
            throw metadataFailure();
        pages.directories.push_back(directoryAt(file, pages.order, next));
    }
    if (pages.directories.empty())
        throw metadataFailure();
    return pages;
}

/// The Exif block as it can lie in a file of this byte order.
std::optional<ExifBlock> exifFor(ByteOrder order, const std::vector<std::byte>& bytes)
{
    auto exif = ExifBlock::parse(bytes);
    if (!exif)
        return std::nullopt;
    exif->removeThumbnail(); // what follows the first directory is a page
    if (exif->order() == order)
        return exif;
    return ExifBlock::parse(rewrittenExif(exif->bytes(), order, true));
}

void pad(ByteWriter& writer)
{
    while (writer.size() % 4 != 0)
        writer.u8(0);
}

/// What goes between the header and all that was there: blocks, with the entries that lead to them.
struct Front {
    std::vector<std::byte> bytes;
    std::map<std::uint16_t, Entry> entries;
};

Front frontOf(const Metadata& metadata, ByteOrder order)
{
    Front front;
    ByteWriter writer{order};
    if (const auto exif = exifFor(order, metadata.exif)) {
        // The block lies where it would lie in a file of its own, so that every offset in it remains true.
        writer.bytes(std::span{exif->bytes()}.subspan(headerBytes));
        for (const ExifBlock::Entry& entry : exif->mainDirectory()) {
            ByteReader reader{exif->bytes(), order};
            reader.seek(entry.position + 8);
            if (entry.valueBytes != 0 && !ExifBlock::isAboutStorage(entry.tag))
                front.entries[entry.tag] = {entry.type, entry.count, reader.u32(), {}};
        }
    }
    const auto add = [&](std::uint16_t tag, std::uint16_t type, std::string_view value) {
        if (value.size() <= 4) // so little would lie in the entry itself, and says nothing
            return;
        pad(writer);
        front.entries[tag] = {type,
                              static_cast<std::uint32_t>(value.size()),
                              static_cast<std::uint32_t>(headerBytes + writer.size()),
                              {}};
        writer.text(value);
    };
    add(xmpTag, typeByte, metadata.xmp);
    add(iptcTag, typeUndefined, asText(metadata.iptc));
    pad(writer);
    front.bytes = std::move(writer).release();
    return front;
}

/// The directories anew, for a file in which everything lies `shift` bytes further on, themselves at `position`.
std::vector<std::byte> directoriesAt(std::uint64_t position, std::uint32_t shift, const Pages& pages)
{
    ByteWriter writer{pages.order};
    for (const Directory& directory : pages.directories) {
        const std::uint64_t end = position + writer.size() + 2 + 12 * directory.entries.size() + 4;
        ByteWriter arrays{pages.order};
        writer.u16(static_cast<std::uint16_t>(directory.entries.size()));
        for (const auto& [tag, entry] : directory.entries) {
            writer.u16(tag);
            if (entry.places.empty()) {
                const bool isElsewhere = typeBytes(entry.type) * entry.count > 4;
                writer.u16(entry.type).u32(entry.count).u32(isElsewhere ? entry.value + shift : entry.value);
                continue;
            }
            writer.u16(typeLong).u32(entry.count);
            if (entry.places.size() == 1) {
                writer.u32(entry.places.front() + shift);
                continue;
            }
            writer.u32(static_cast<std::uint32_t>(end + arrays.size()));
            for (const std::uint32_t place : entry.places)
                arrays.u32(place + shift);
        }
        const auto bytes = std::move(arrays).release();
        const bool isLast = &directory == &pages.directories.back();
        writer.u32(isLast ? 0 : static_cast<std::uint32_t>(end + bytes.size())).bytes(bytes);
    }
    return std::move(writer).release();
}

} // namespace

void writeTiffMetadata(const std::filesystem::path& path, const Metadata& metadata)
{
    if (metadata.isEmpty())
        return; // the encoder wrote none
    FileRewrite file{path};
    auto pages = pagesOf(file.old());
    if (!pages)
        return;
    Front front = frontOf(metadata, pages->order);
    const auto shift = static_cast<std::uint32_t>(front.bytes.size());
    const std::uint64_t tail = (file.old().size() + shift + 3) / 4 * 4;

    // Entries of the front are not shifted with the others.
    auto& entries = pages->directories.front().entries;
    for (auto& [tag, entry] : front.entries)
        if (!entries.contains(tag) || isResolution(tag)) {
            if (entry.count * typeBytes(entry.type) > 4)
                entry.value -= shift;
            entries[tag] = std::move(entry);
        }
    const auto directories = directoriesAt(tail, shift, *pages);
    if (tail + directories.size() > std::numeric_limits<std::uint32_t>::max())
        return;

    ByteWriter header{pages->order};
    header.text(pages->order == ByteOrder::big ? "MM" : "II").u16(42).u32(static_cast<std::uint32_t>(tail));
    file.write(header.view());
    file.write(asText(front.bytes));
    file.copyRest(headerBytes);
    file.write(std::string(static_cast<std::size_t>(tail - file.old().size() - shift), '\0'));
    file.write(asText(directories));
    file.commit();
}

} // namespace nivex::image
