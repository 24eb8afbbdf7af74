#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Archive/ZipFormat.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex {
namespace {

constexpr std::uint16_t maxEntries = 20'000;
constexpr std::uint32_t maxDirectoryBytes = 8 << 20;
constexpr std::size_t maxCommentSize = 65'535;
constexpr std::uint16_t encryptedFlag = 1;
constexpr std::string_view endSignatureText = "PK\x05\x06";

// What an archive with the 64-bit extension writes in place of the count and the offset.
constexpr std::uint16_t countElsewhere = 0xFFFF;
constexpr std::uint32_t offsetElsewhere = 0xFFFFFFFF;

using Entry = ZipArchive::Entry;
using Bytes = std::vector<std::byte>;

ConversionError invalidDirectory() { return ConversionError::unreadableSource("répertoire ZIP invalide"_fr); }
ConversionError damaged() { return ConversionError::unreadableSource("archive ZIP endommagée"_fr); }
ConversionError cut() { return ConversionError::unreadableSource("archive ZIP tronquée"_fr); }
ConversionError encryptedArchive() { return ConversionError::unsupported("archive ZIP chiffrée"_fr); }

/// The last bytes of an archive: as many as an end record with the longest comment takes.
struct Tail {
    std::uint64_t offset = 0;
    Bytes bytes;

    explicit Tail(const ByteSource& archive)
        : offset{archive.size() - std::min<std::uint64_t>(archive.size(), zip::endRecordSize + maxCommentSize)},
          bytes{archive.read(offset, zip::endRecordSize + maxCommentSize)}
    {
    }
};

struct EndRecord {
    std::uint64_t offset = 0;
    std::uint16_t count = 0;
    std::uint32_t directorySize = 0;
    std::uint32_t directoryOffset = 0;
};

/// The last end record, found by its signature.
EndRecord findEndRecord(const Tail& tail)
{
    if (tail.bytes.size() < zip::endRecordSize)
        throw ConversionError::unreadableSource("archive ZIP trop courte"_fr);
    const std::string_view text{reinterpret_cast<const char*>(tail.bytes.data()), tail.bytes.size()};
    const std::size_t at = text.rfind(endSignatureText, text.size() - zip::endRecordSize);
    if (at == text.npos)
        throw ConversionError::unreadableSource("archive ZIP sans répertoire"_fr);
    ByteReader record{std::span{tail.bytes}.subspan(at)};
    record.seek(10);
    EndRecord end{.offset = tail.offset + at};
    end.count = record.u16();
    end.directorySize = record.u32();
    end.directoryOffset = record.u32();
    return end;
}

void checkEndRecord(const EndRecord& end)
{
    if (end.count == countElsewhere || end.directoryOffset == offsetElsewhere)
        throw ConversionError::unsupported("archive de plus de 4 Go"_fr);
    const bool liesBefore = end.directoryOffset <= end.offset && end.directorySize <= end.offset - end.directoryOffset;
    if (!liesBefore || end.count > maxEntries || end.directorySize > maxDirectoryBytes)
        throw invalidDirectory();
}

/// The bytes of the directory: a part of the tail, or read into `storage` where they begin before it.
std::span<const std::byte> directoryBytes(const ByteSource& archive, const Tail& tail, const EndRecord& end,
                                          Bytes& storage)
{
    if (end.directoryOffset >= tail.offset)
        return std::span{tail.bytes}.subspan(static_cast<std::size_t>(end.directoryOffset - tail.offset),
                                             end.directorySize);
    storage = archive.read(end.directoryOffset, end.directorySize);
    return storage;
}

Entry readRecord(ByteReader& record, ZipArchive::Reader::Encrypted encrypted)
{
    record.expect(zip::centralSignature);
    record.skip(4); // versions: nothing that is read here depends on them
    Entry entry;
    entry.isEncrypted = (record.u16() & encryptedFlag) != 0;
    entry.method = record.u16();
    record.skip(4); // time and date
    entry.crc = record.u32();
    entry.compressedSize = record.u32();
    entry.uncompressedSize = record.u32();
    const std::uint16_t nameLength = record.u16();
    const std::uint16_t extraLength = record.u16();
    const std::uint16_t commentLength = record.u16();
    record.skip(8); // disk number and attributes
    entry.localHeaderOffset = record.u32();
    if (entry.isEncrypted && encrypted == ZipArchive::Reader::Encrypted::refused)
        throw encryptedArchive();
    if (record.left() < nameLength)
        throw ConversionError::unreadableSource("nom ZIP tronqué"_fr);
    entry.name = validUtf8(record.text(nameLength));
    // The end of the last record may be cut off: nothing of it is needed.
    record.skip(std::min<std::size_t>(record.left(), std::size_t{extraLength} + commentLength));
    return entry;
}

void checkReadable(const Entry& entry)
{
    if (entry.isEncrypted)
        throw encryptedArchive();
    if (entry.method != zip::methodStored && entry.method != zip::methodDeflated)
        throw ConversionError::unsupported(filled("méthode de compression ZIP {}"_fr, {std::to_string(entry.method)}));
}

} // namespace

std::vector<Entry> ZipArchive::Reader::centralDirectory(const ByteSource& archive, Encrypted encrypted)
{
    const Tail tail{archive};
    const EndRecord end = findEndRecord(tail);
    checkEndRecord(end);
    Bytes storage;
    const std::span<const std::byte> directory = directoryBytes(archive, tail, end, storage);
    std::vector<Entry> entries;
    entries.reserve(std::min<std::size_t>(end.count, directory.size() / zip::centralRecordSize));
    ByteReader records{directory, invalidDirectory()};
    for (std::uint16_t i = 0; i < end.count; ++i) {
        if (records.left() < zip::centralRecordSize)
            throw invalidDirectory();
        entries.push_back(readRecord(records, encrypted));
    }
    return entries;
}

ZipArchive::Reader::Reader(const ByteSource& archive, const ResourceLimits& limits, Encrypted encrypted)
    : archive_{&archive}, maxEntryBytes_{limits.maxUnzippedEntryBytes}, entries_{centralDirectory(archive, encrypted)}
{
}

const Entry* ZipArchive::Reader::entry(std::string_view name) const
{
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.name == name; });
    return found == entries_.end() ? nullptr : &*found;
}

std::vector<std::byte> ZipArchive::Reader::contents(const Entry& entry) const
{
    // The compressed data are held in memory too; none that decode to less are twice the limit long.
    if (entry.uncompressedSize > maxEntryBytes_ || entry.compressedSize / 2 > maxEntryBytes_)
        throw ConversionError::resourceLimit(filled("« {} » trop volumineux une fois décompressé"_fr, {entry.name}));
    const std::uint64_t begin = dataOffset(entry);
    if (archive_->size() - begin < entry.compressedSize)
        throw cut();
    checkReadable(entry);
    Bytes data = archive_->read(begin, std::size_t{entry.compressedSize});
    if (entry.method == zip::methodDeflated)
        data = Deflate::decompress(data, entry.uncompressedSize);
    if (CRC32::checksum(data) != entry.crc)
        throw ConversionError::unreadableSource("archive ZIP endommagée (somme de contrôle)"_fr);
    return data;
}

std::vector<std::byte> ZipArchive::Reader::prefix(const Entry& entry, std::size_t maxBytes) const
{
    const std::uint64_t begin = dataOffset(entry);
    checkReadable(entry);
    // Some room beyond, as data that do not shrink take a little more than they yield.
    const std::size_t count = std::min<std::size_t>(entry.compressedSize, maxBytes + maxBytes / 64 + 256);
    Bytes data = archive_->read(begin, count);
    if (entry.method == zip::methodDeflated)
        return Deflate::inflatePrefix(data, std::min<std::size_t>(maxBytes, entry.uncompressedSize));
    data.resize(std::min(data.size(), maxBytes));
    return data;
}

/// Where the data of an entry begin, behind its local header.
std::uint64_t ZipArchive::Reader::dataOffset(const Entry& entry) const
{
    const Bytes header = archive_->read(entry.localHeaderOffset, zip::localHeaderSize);
    ByteReader local{header, damaged()};
    local.expect(zip::localSignature);
    local.seek(26);
    const std::uint32_t variable = std::uint32_t{local.u16()} + local.u16();
    const std::uint64_t begin = entry.localHeaderOffset + zip::localHeaderSize + std::uint64_t{variable};
    if (begin > archive_->size())
        throw cut();
    return begin;
}

} // namespace nivex
