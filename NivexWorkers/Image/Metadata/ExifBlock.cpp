#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"

#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <array>

namespace nivex::image {
namespace {

constexpr std::uint16_t typeShort = 3;
constexpr std::uint16_t typeLong = 4;
constexpr std::uint16_t orientationTag = 0x0112;
constexpr std::size_t headerBytes = 8; // neither a directory nor a value lies in them
constexpr std::size_t entryBytes = 12;

} // namespace

std::optional<ExifBlock> ExifBlock::parse(std::vector<std::byte> bytes)
{
    constexpr std::array lead{std::byte{'E'}, std::byte{'x'}, std::byte{'i'}, std::byte{'f'}, std::byte{}, std::byte{}};
    if (bytes.size() > lead.size() && std::ranges::equal(lead, std::span{bytes}.first(lead.size())))
        bytes.erase(bytes.begin(), bytes.begin() + lead.size());
    const MemorySource source{bytes};
    const auto structure = TiffStructure::at(source, 0);
    constexpr std::uint16_t plainTiff = 42;
    if (!structure || structure->version() != plainTiff)
        return std::nullopt;
    const ByteOrder order = structure->order();
    const auto first = static_cast<std::size_t>(structure->firstDirectory());
    ExifBlock block{std::move(bytes), order, first};
    if (block.mainDirectory().empty())
        return std::nullopt;
    return block;
}

bool ExifBlock::isAboutStorage(std::uint16_t tag)
{
    constexpr std::array<std::uint16_t, 40> tags{
        0x00FE, 0x00FF, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x0107, 0x0108, 0x0109, 0x010A, 0x0111, 0x0115, 0x0116,
        0x0117, 0x0118, 0x0119, 0x011C, 0x0120, 0x0121, 0x0122, 0x0123, 0x0124, 0x0125, 0x013D, 0x0140, 0x0142, 0x0143,
        0x0144, 0x0145, 0x014A, 0x0152, 0x0153, 0x0200, 0x0201, 0x0202, 0x0211, 0x0212, 0x0213, 0x0214};
    return std::ranges::find(tags, tag) != tags.end();
}

std::span<const std::byte> ExifBlock::value(const Entry& entry) const
{
    return std::span{bytes_}.subspan(entry.valuePosition, entry.valueBytes);
}

ByteReader ExifBlock::reader(std::size_t position) const
{
    ByteReader reader{bytes_, order_};
    reader.seek(position);
    return reader;
}

std::optional<TiffDirectory> ExifBlock::tiffDirectoryAt(std::size_t position) const
{
    const MemorySource source{bytes_};
    const auto structure = TiffStructure::at(source, 0);
    auto directory = structure && position >= headerBytes ? structure->directory(position) : std::nullopt;
    return directory && directory->isWhole ? directory : std::nullopt;
}

ExifBlock::Directory ExifBlock::directoryAt(std::size_t position) const
{
    const auto found = tiffDirectoryAt(position);
    if (!found)
        return {};
    Directory directory;
    for (const TiffField& field : found->fields) {
        Entry entry{.position = static_cast<std::size_t>(field.entry),
                    .tag = field.tag,
                    .type = field.type,
                    .count = static_cast<std::uint32_t>(field.count),
                    .valuePosition = static_cast<std::size_t>(field.position),
                    .valueBytes = 0};
        const std::size_t bytes = tiffValueSize(field.type) * entry.count;
        const bool isWithin = entry.valuePosition >= headerBytes && entry.valuePosition <= bytes_.size() &&
                              bytes <= bytes_.size() - entry.valuePosition;
        if (isWithin)
            entry.valueBytes = bytes;
        directory.push_back(entry);
    }
    return directory;
}

std::optional<std::size_t> ExifBlock::subdirectory(const Directory& from, std::uint16_t pointerTag) const
{
    const auto pointer = std::ranges::find(from, pointerTag, &Entry::tag);
    if (pointer == from.end() || pointer->valueBytes != 4)
        return std::nullopt;
    return reader(pointer->valuePosition).u32();
}

ExifBlock::Directory ExifBlock::exifDirectory() const
{
    const auto position = subdirectory(mainDirectory(), exifPointer);
    return position ? directoryAt(*position) : Directory{};
}

std::optional<std::size_t> ExifBlock::thumbnailPosition() const
{
    const auto main = tiffDirectoryAt(mainPosition_);
    return main && main->next != 0 ? std::optional{static_cast<std::size_t>(main->next)} : std::nullopt;
}

std::size_t ExifBlock::nextPosition() const { return mainPosition_ + 2 + mainDirectory().size() * entryBytes; }

void ExifBlock::put(std::size_t position, std::uint32_t number, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t shift = 8 * (order_ == ByteOrder::little ? i : width - 1 - i);
        bytes_[position + i] = static_cast<std::byte>(number >> shift);
    }
}

void ExifBlock::erase(std::size_t position, std::size_t count)
{
    std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position), count, std::byte{});
}

void ExifBlock::eraseDirectory(std::size_t position)
{
    const Directory directory = directoryAt(position);
    if (directory.empty())
        return;
    for (const Entry& entry : directory)
        erase(entry.valuePosition, entry.valueBytes);
    erase(position, 2 + directory.size() * entryBytes);
}

void ExifBlock::setNumber(const Directory& directory, std::uint16_t tag, std::uint32_t number)
{
    for (const Entry& entry : directory)
        if (entry.tag == tag) {
            put(entry.position + 2, typeLong, 2);
            put(entry.position + 4, 1, 4);
            put(entry.position + 8, number, 4);
        }
}

int ExifBlock::orientation() const
{
    const Directory main = mainDirectory();
    const auto entry = std::ranges::find(main, orientationTag, &Entry::tag);
    if (entry == main.end() || entry->type != typeShort || entry->valueBytes == 0)
        return 1;
    const unsigned told = reader(entry->valuePosition).u16();
    return told >= 1 && told <= 8 ? static_cast<int>(told) : 1;
}

void ExifBlock::setUpright(int width, int height)
{
    const Directory main = mainDirectory();
    for (const Entry& entry : main)
        if (entry.tag == orientationTag) {
            erase(entry.position + 2, entryBytes - 2);
            put(entry.position + 2, typeShort, 2);
            put(entry.position + 4, 1, 4);
            put(entry.position + 8, 1, 2);
        }
    const Directory exif = exifDirectory();
    setNumber(main, 0x0100, static_cast<std::uint32_t>(width));
    setNumber(main, 0x0101, static_cast<std::uint32_t>(height));
    setNumber(exif, 0xA002, static_cast<std::uint32_t>(width));
    setNumber(exif, 0xA003, static_cast<std::uint32_t>(height));
}

void ExifBlock::removeThumbnail()
{
    const auto position = thumbnailPosition();
    if (!position)
        return;
    const Directory thumbnail = directoryAt(*position);
    put(nextPosition(), 0, 4);
    std::size_t start = 0;
    std::size_t length = 0;
    for (const Entry& entry : thumbnail)
        if (entry.valueBytes == 4 && entry.tag == 0x0201)
            start = reader(entry.valuePosition).u32();
        else if (entry.valueBytes == 4 && entry.tag == 0x0202)
            length = reader(entry.valuePosition).u32();
    eraseDirectory(*position);
    if (start < headerBytes || start > bytes_.size())
        return;
    length = std::min(length, bytes_.size() - start);
    erase(start, length);
    if (start + length == bytes_.size() && nextPosition() + 4 <= start)
        bytes_.resize(start);
}

void ExifBlock::removePosition()
{
    // It should be the main one; other programs find the position wherever a directory leads to it.
    for (const auto& from :
         {std::optional{mainPosition_}, subdirectory(mainDirectory(), exifPointer), thumbnailPosition()}) {
        if (!from)
            continue;
        for (const Entry& entry : directoryAt(*from))
            if (entry.tag == gpsPointer && entry.valueBytes == 4)
                eraseDirectory(reader(entry.valuePosition).u32());
        removeFrom(*from, gpsPointer);
    }
}

void ExifBlock::removeFrom(std::size_t directoryPosition, std::uint16_t tag)
{
    const Directory directory = directoryAt(directoryPosition);
    if (std::ranges::find(directory, tag, &Entry::tag) == directory.end())
        return;
    for (const Entry& entry : directory)
        if (entry.tag == tag)
            erase(entry.valuePosition, entry.valueBytes);
    // What is kept moves up, with the link to the next directory where there is room for one.
    const std::size_t begin = directoryPosition + 2;
    const std::size_t end = begin + directory.size() * entryBytes;
    const std::size_t linked = std::min(end + 4, bytes_.size());
    const auto at = [&](std::size_t position) { return bytes_.begin() + static_cast<std::ptrdiff_t>(position); };
    std::vector<std::byte> table;
    for (const Entry& entry : directory)
        if (entry.tag != tag)
            table.insert(table.end(), at(entry.position), at(entry.position + entryBytes));
    put(directoryPosition, static_cast<std::uint32_t>(table.size() / entryBytes), 2);
    table.insert(table.end(), at(end), at(linked));
    table.resize(linked - begin);
    std::ranges::copy(table, at(begin));
}

} // namespace nivex::image
