#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace nivex::inspectors {
namespace {

constexpr std::uint32_t lastRegularSector = 0xFFFFFFFA;
constexpr std::uint32_t noEntry = 0xFFFFFFFF;
constexpr std::size_t headerSize = 512;
constexpr std::size_t tableSlotsInHeader = 109;
constexpr std::size_t directoryEntrySize = 128;
// The directory is read so far: a thousand entries or more.
constexpr std::size_t maxDirectoryBytes = 128 << 10;

/// A stream or a storage.
struct DirectoryEntry {
    std::string name; // ASCII; every other character as "?"
    std::uint32_t left = noEntry;
    std::uint32_t right = noEntry;
    std::uint32_t child = noEntry;
    std::uint32_t firstSector = 0;
    std::uint64_t size = 0;
    std::array<unsigned char, 16> classID{};
};

/// The sectors and the directory of a compound file.
class CompoundFile {
public:
    /// None when the header is not that of a compound file.
    static std::optional<CompoundFile> open(const ByteSource& source)
    {
        const auto bytes = source.read(0, headerSize);
        ByteReader header{bytes};
        header.skip(30);
        const std::uint16_t sectorShift = header.u16();
        header.skip(16);
        const std::uint32_t directorySector = header.u32();
        header.skip(24);
        if (sectorShift != 9 && sectorShift != 12)
            return std::nullopt;
        CompoundFile file{source, std::size_t{1} << sectorShift};
        for (std::uint32_t& sector : file.tableSectors_)
            sector = header.u32();
        if (header.failed())
            return std::nullopt;
        file.readDirectory(directorySector);
        return file;
    }

    const std::vector<DirectoryEntry>& entries() const { return entries_; }

    /// The root and what lies directly in it, not what is embedded deeper.
    std::vector<const DirectoryEntry*> topLevel() const
    {
        std::vector<const DirectoryEntry*> found;
        std::vector<bool> seen(entries_.size());
        std::vector<std::uint32_t> open{0};
        while (!open.empty()) {
            const std::uint32_t index = open.back();
            open.pop_back();
            if (index >= entries_.size() || seen[index])
                continue;
            seen[index] = true;
            const DirectoryEntry& entry = entries_[index];
            found.push_back(&entry);
            if (index == 0)
                open.push_back(entry.child);
            else
                open.insert(open.end(), {entry.left, entry.right});
        }
        return found;
    }

    /// The first sector of a stream that is long enough to have sectors of its own.
    std::vector<std::byte> firstSectorOf(const DirectoryEntry& stream) const
    {
        constexpr std::uint64_t shortestInSectors = 4'096;
        return stream.size < shortestInSectors ? std::vector<std::byte>{} : sector(stream.firstSector);
    }

private:
    CompoundFile(const ByteSource& source, std::size_t sectorSize) : source_{&source}, sectorSize_{sectorSize} {}

    std::vector<std::byte> sector(std::uint32_t index) const
    {
        return source_->read((std::uint64_t{index} + 1) * sectorSize_, sectorSize_);
    }

    std::uint32_t following(std::uint32_t index) const
    {
        const std::size_t perSector = sectorSize_ / 4;
        const std::size_t slot = index / perSector;
        if (slot >= tableSectors_.size() || tableSectors_[slot] > lastRegularSector)
            // Farther tables are reached through further sectors, which a directory so far away is not worth.
            return noEntry;
        const std::uint64_t table = (std::uint64_t{tableSectors_[slot]} + 1) * sectorSize_;
        const auto bytes = source_->read(table + index % perSector * 4, std::size_t{4});
        ByteReader next{bytes};
        const std::uint32_t value = next.u32();
        return next.failed() ? noEntry : value;
    }

    void readDirectory(std::uint32_t first)
    {
        std::size_t bytesRead = 0;
        for (std::uint32_t index = first; index < lastRegularSector && bytesRead < maxDirectoryBytes;
             index = following(index)) {
            const auto bytes = sector(index);
            bytesRead += sectorSize_;
            for (std::size_t at = 0; at + directoryEntrySize <= bytes.size(); at += directoryEntrySize)
                entries_.push_back(readEntry(std::span{bytes}.subspan(at, directoryEntrySize)));
        }
    }

    static DirectoryEntry readEntry(std::span<const std::byte> bytes)
    {
        constexpr std::size_t nameUnits = 32;
        DirectoryEntry entry;
        ByteReader units{bytes};
        for (std::size_t i = 0; i < nameUnits; ++i) {
            const std::uint16_t unit = units.u16();
            if (unit == 0)
                break;
            entry.name += unit < 0x80 ? static_cast<char>(unit) : '?';
        }
        ByteReader fields{bytes};
        fields.seek(68);
        entry.left = fields.u32();
        entry.right = fields.u32();
        entry.child = fields.u32();
        for (unsigned char& each : entry.classID)
            each = fields.u8();
        fields.seek(116);
        entry.firstSector = fields.u32();
        entry.size = fields.u32();
        return entry;
    }

    const ByteSource* source_;
    std::size_t sectorSize_;
    std::array<std::uint32_t, tableSlotsInHeader> tableSectors_{};
    std::vector<DirectoryEntry> entries_;
};

/// The bit of a text document's first block that says it is encrypted.
bool isEncryptedText(std::span<const std::byte> stream)
{
    ByteReader block{stream};
    block.skip(10);
    return (block.u16() & 0x0100) != 0;
}

/// A workbook is encrypted when the record that tells how stands among its first ones.
bool isEncryptedWorkbook(std::span<const std::byte> stream)
{
    constexpr std::uint16_t filePass = 0x002F;
    ByteReader records{stream};
    for (int i = 0; i < 4 && !records.failed(); ++i) {
        const std::uint16_t type = records.u16();
        if (type == filePass && !records.failed())
            return true;
        records.skip(records.u16());
    }
    return false;
}

/// Names of streams differ by more than their case (MS-CFB, 2.6.4).
bool isSameName(std::string_view name, std::string_view other)
{
    const auto upper = [](char each) { return each >= 'a' && each <= 'z' ? each - 'a' + 'A' : int{each}; };
    return std::equal(name.begin(), name.end(), other.begin(), other.end(),
                      [&](char a, char b) { return upper(a) == upper(b); });
}

// {000C108x-0000-0000-C000-000000000046}: packages, patches and transforms of the installer.
bool isInstaller(const DirectoryEntry& root)
{
    constexpr std::array<unsigned char, 16> installer{0x84, 0x10, 0x0C, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    return std::equal(installer.begin() + 1, installer.end(), root.classID.begin() + 1) &&
           (root.classID[0] & 0xF0) == 0x80;
}

} // namespace

Finding ole2(const ByteSource& source, const SniffResult&)
{
    const auto file = CompoundFile::open(source);
    if (!file || file->entries().empty())
        return {};
    const auto topLevel = file->topLevel();
    const auto named = [&](std::string_view name) -> const DirectoryEntry* {
        const auto found =
            std::find_if(topLevel.begin(), topLevel.end(), [&](const auto* e) { return isSameName(e->name, name); });
        return found == topLevel.end() ? nullptr : *found;
    };
    const auto anyBegins = [&](std::string_view start) {
        return std::any_of(topLevel.begin(), topLevel.end(),
                           [&](const auto* e) { return isSameName(e->name.substr(0, start.size()), start); });
    };
    using Candidates = std::vector<FormatID>;

    if (named("EncryptedPackage"))
        return {.candidates = Candidates{"docx", "xlsx", "xlsm", "pptx", "ppsx"}, .isEncrypted = true};
    if (const DirectoryEntry* text = named("WordDocument"))
        return {.candidates = Candidates{"doc"}, .isEncrypted = isEncryptedText(file->firstSectorOf(*text))};
    for (const std::string_view name : {"Workbook", "Book"})
        if (const DirectoryEntry* workbook = named(name))
            return {.candidates = Candidates{"xls"},
                    .isEncrypted = isEncryptedWorkbook(file->firstSectorOf(*workbook))};
    if (named("PowerPoint Document"))
        return {.candidates = Candidates{"ppt"}, .isEncrypted = named("EncryptedSummary") != nullptr};
    if (anyBegins("__properties_version1") || anyBegins("__nameid_version1") || anyBegins("__substg1.0_"))
        return {.candidates = Candidates{"msg"}};
    if (isInstaller(file->entries().front()))
        return {.candidates = Candidates{"msi"}};
    return {.candidates = Candidates{}};
}

} // namespace nivex::inspectors
