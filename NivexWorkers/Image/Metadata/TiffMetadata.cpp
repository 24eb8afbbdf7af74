// Metadata in TIFF (TIFF 6.0), where Exif lies among the directories of the picture itself.
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"

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
constexpr std::size_t inlineBytes = 4; // of a value that stands in its entry

/// One entry of a directory on its way into the new file.
struct Entry {
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::vector<std::byte> value;        // as it stands in the entry
    std::uint32_t position = 0;          // or where it stands, when `value` is empty
    std::vector<std::uint32_t> places{}; // of strips and tiles, instead of either
};

struct Directory {
    std::map<std::uint16_t, Entry> entries; // in the order of their tags, as the format demands
};

/// All directories of a file of ours and what has to be known to move them.
struct Pages {
    ByteOrder order;
    std::vector<Directory> directories;
};

std::vector<std::uint32_t> placesOf(const TiffStructure& file, const TiffField& field)
{
    constexpr std::uint64_t most = mostBlockBytes / sizeof(std::uint32_t);
    const auto numbers = file.numbers(field, most);
    if (!numbers)
        throw metadataFailure();
    std::vector<std::uint32_t> places(numbers->size());
    std::ranges::transform(*numbers, places.begin(),
                           [](std::uint64_t place) { return static_cast<std::uint32_t>(place); });
    return places;
}

Entry entryOf(const ByteSource& bytes, const TiffStructure& file, const TiffField& field)
{
    if (tiffValueSize(field.type) == 0)
        throw metadataFailure();
    Entry entry{.type = field.type, .count = static_cast<std::uint32_t>(field.count)};
    if (field.tag == stripOffsets || field.tag == tileOffsets)
        entry.places = placesOf(file, field);
    else if (field.isInline)
        entry.value = bytes.read(field.position, inlineBytes);
    else
        entry.position = static_cast<std::uint32_t>(field.position);
    return entry;
}

/// Makes everything in a directory lie `shift` bytes further on.
void move(Directory& directory, std::uint32_t shift)
{
    for (auto& [tag, entry] : directory.entries) {
        entry.position += shift;
        for (std::uint32_t& place : entry.places)
            place += shift;
    }
}

/// Of which the block knows best: not every reader of pictures tells it to their writer.
bool isResolution(std::uint16_t tag) { return tag == 282 || tag == 283 || tag == 296; }

/// None for a file with offsets of 64 bits.
std::optional<Pages> pagesOf(const ByteSource& bytes)
{
    const auto file = TiffStructure::at(bytes, 0);
    if (!file)
        throw metadataFailure();
    if (file->isBig())
        return std::nullopt;
    Pages pages{.order = file->order(), .directories = {}};
    for (std::uint64_t next = file->firstDirectory(); next != 0;) {
        const auto directory = file->directory(next);
        if (!directory || !directory->isWhole || pages.directories.size() > 1'000'000)
            throw metadataFailure();
        Directory& page = pages.directories.emplace_back();
        for (const TiffField& field : directory->fields)
            page.entries.emplace(field.tag, entryOf(bytes, *file, field));
        next = directory->next;
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
        for (const ExifBlock::Entry& each : exif->mainDirectory()) {
            if (each.valueBytes == 0 || ExifBlock::isAboutStorage(each.tag))
                continue;
            Entry entry{.type = each.type, .count = each.count};
            if (each.valueBytes > inlineBytes)
                entry.position = static_cast<std::uint32_t>(each.valuePosition);
            else
                entry.value.assign(exif->bytes().begin() + static_cast<std::ptrdiff_t>(each.valuePosition),
                                   exif->bytes().begin() +
                                       static_cast<std::ptrdiff_t>(each.valuePosition + inlineBytes));
            front.entries[each.tag] = std::move(entry);
        }
    }
    const auto add = [&](std::uint16_t tag, std::uint16_t type, std::string_view value) {
        if (value.size() <= inlineBytes) // so little would lie in the entry itself, and says nothing
            return;
        pad(writer);
        front.entries[tag] = {.type = type,
                              .count = static_cast<std::uint32_t>(value.size()),
                              .position = static_cast<std::uint32_t>(headerBytes + writer.size())};
        writer.text(value);
    };
    add(xmpTag, typeByte, metadata.xmp);
    add(iptcTag, typeUndefined, asText(metadata.iptc));
    pad(writer);
    front.bytes = std::move(writer).release();
    return front;
}

/// The directories anew, themselves at `position`.
std::vector<std::byte> directoriesAt(std::uint64_t position, const Pages& pages)
{
    ByteWriter writer{pages.order};
    for (const Directory& directory : pages.directories) {
        const std::uint64_t end = position + writer.size() + 2 + 12 * directory.entries.size() + 4;
        ByteWriter arrays{pages.order};
        writer.u16(static_cast<std::uint16_t>(directory.entries.size()));
        for (const auto& [tag, entry] : directory.entries) {
            writer.u16(tag).u16(entry.places.empty() ? entry.type : typeLong).u32(entry.count);
            if (!entry.value.empty()) {
                writer.bytes(entry.value);
            } else if (entry.places.size() == 1) {
                writer.u32(entry.places.front());
            } else if (entry.places.empty()) {
                writer.u32(entry.position);
            } else {
                writer.u32(static_cast<std::uint32_t>(end + arrays.size()));
                for (const std::uint32_t place : entry.places)
                    arrays.u32(place);
            }
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

    for (Directory& directory : pages->directories)
        move(directory, shift);
    auto& entries = pages->directories.front().entries;
    for (auto& [tag, entry] : front.entries)
        if (!entries.contains(tag) || isResolution(tag))
            entries[tag] = std::move(entry);
    const auto directories = directoriesAt(tail, *pages);
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
