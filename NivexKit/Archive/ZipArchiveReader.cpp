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
constexpr std::uint64_t maxDirectoryBytes = 128 << 20; // names of 6,000 bytes each
constexpr std::size_t maxCommentSize = 65'535;
constexpr std::uint16_t encryptedFlag = 1;
constexpr std::string_view endSignatureText = "PK\x05\x06";

// What an archive with the 64-bit extension writes in place of the count and the offset.
constexpr std::uint16_t countElsewhere = 0xFFFF;
constexpr std::uint32_t offsetElsewhere = 0xFFFFFFFF; // and of a size

using Entry = ZipArchive::Entry;
using Purpose = ZipArchive::Reader::Purpose;
using Bytes = std::vector<std::byte>;

// The cause names the record, or the entry and what of it is wrong.
ConversionError invalidDirectory(std::string_view cause)
{
    return ConversionError::unreadableSource("répertoire ZIP invalide"_fr).because(cause);
}

ConversionError damaged(std::string_view cause)
{
    return ConversionError::unreadableSource("archive ZIP endommagée"_fr).because(cause);
}

ConversionError cut(std::string_view cause)
{
    return ConversionError::unreadableSource("archive ZIP tronquée"_fr).because(cause);
}

ConversionError encryptedArchive(const Entry& entry)
{
    return ConversionError::unsupported("archive ZIP chiffrée"_fr).because(entry.storedName + ": encrypted");
}

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
        throw ConversionError::unreadableSource("archive ZIP trop courte"_fr).because("no room for an end record");
    const std::string_view text{reinterpret_cast<const char*>(tail.bytes.data()), tail.bytes.size()};
    const std::size_t at = text.rfind(endSignatureText, text.size() - zip::endRecordSize);
    if (at == text.npos)
        throw ConversionError::unreadableSource("archive ZIP sans répertoire"_fr).because("end record: not found");
    ByteReader record{std::span{tail.bytes}.subspan(at)};
    record.seek(10);
    EndRecord end{.offset = tail.offset + at};
    end.count = record.u16();
    end.directorySize = record.u32();
    end.directoryOffset = record.u32();
    return end;
}

/// Where the directory stands in the file.
struct Directory {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t count = 0;
    std::uint64_t bytesInFront = 0; // of the archive, as its offsets count
};

/// The directory of an archive with the 64-bit extension, as the record tells that stands before the end record.
Directory wideDirectory(const ByteSource& archive, const EndRecord& end)
{
    constexpr std::uint64_t locatorSize = 20;
    constexpr std::uint32_t locatorSignature = 0x07064B50;
    constexpr std::uint32_t recordSignature = 0x06064B50;
    if (end.offset < locatorSize)
        throw invalidDirectory("64-bit locator: no room for it");
    const Bytes locatorBytes = archive.read(end.offset - locatorSize, locatorSize);
    ByteReader locator{locatorBytes, invalidDirectory("64-bit locator: not in front of the end record")};
    locator.expect(locatorSignature);
    locator.skip(4); // the disk
    const Bytes recordBytes = archive.read(locator.u64(), 56);
    ByteReader record{recordBytes, invalidDirectory("64-bit end record: not where its locator says")};
    record.expect(recordSignature);
    record.seek(32);
    const std::uint64_t count = record.u64();
    const std::uint64_t size = record.u64();
    return {.offset = record.u64(), .size = size, .count = count};
}

bool beginsRecord(const ByteSource& archive, std::uint64_t offset)
{
    const Bytes bytes = archive.read(offset, 4);
    return ByteReader{bytes}.u32() == zip::centralSignature;
}

/// The directory that an end record tells of. It ends where that record begins: where no entry stands at the announced
/// offset but one does there, bytes were put in front of the archive.
Directory narrowDirectory(const ByteSource& archive, const EndRecord& end)
{
    Directory directory{.offset = end.directoryOffset, .size = end.directorySize, .count = end.count};
    if (directory.count == 0 || directory.size > end.offset || beginsRecord(archive, directory.offset))
        return directory;
    const std::uint64_t offset = end.offset - directory.size;
    if (offset > directory.offset && beginsRecord(archive, offset)) {
        directory.bytesInFront = offset - directory.offset;
        directory.offset = offset;
    }
    return directory;
}

Directory directoryOf(const ByteSource& archive, const EndRecord& end, Purpose purpose)
{
    const bool isWide = end.count == countElsewhere || end.directoryOffset == offsetElsewhere;
    if (isWide && purpose != Purpose::listing)
        throw ConversionError::unsupported("archive de plus de 4 Go"_fr);
    const Directory directory = isWide ? wideDirectory(archive, end) : narrowDirectory(archive, end);
    const bool liesBefore = directory.offset <= end.offset && directory.size <= end.offset - directory.offset;
    if (!liesBefore)
        throw invalidDirectory("directory: does not lie before its end record");
    if (directory.count > maxEntries || directory.size > maxDirectoryBytes)
        throw invalidDirectory("directory: " + std::to_string(directory.count) + " entries, " +
                               std::to_string(directory.size) + " bytes");
    return directory;
}

/// The bytes of the directory: a part of the tail, or read into `storage` where they begin before it.
std::span<const std::byte> directoryBytes(const ByteSource& archive, const Tail& tail, const Directory& directory,
                                          Bytes& storage)
{
    const auto size = static_cast<std::size_t>(directory.size);
    if (directory.offset >= tail.offset)
        return std::span{tail.bytes}.subspan(static_cast<std::size_t>(directory.offset - tail.offset), size);
    storage = archive.read(directory.offset, size);
    return storage;
}

/// Puts in what the 64-bit extension keeps behind the name, in this order, of what is marked as being elsewhere. What
/// does not fit into 32 bits stays marked.
void takeWideNumbers(ByteReader extra, Entry& entry)
{
    constexpr std::uint16_t wideNumbers = 1;
    while (extra.left() >= 4) {
        const std::uint16_t kind = extra.u16();
        ByteReader field{extra.bytes(extra.u16())};
        if (kind != wideNumbers)
            continue;
        for (std::uint32_t* number : {&entry.uncompressedSize, &entry.compressedSize, &entry.localHeaderOffset})
            if (*number == offsetElsewhere && field.left() >= 8)
                *number = static_cast<std::uint32_t>(std::min<std::uint64_t>(field.u64(), offsetElsewhere));
    }
}

Entry readRecord(ByteReader& record, Purpose purpose)
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
    if (entry.isEncrypted && purpose == Purpose::extracting)
        throw encryptedArchive(entry);
    if (record.left() < nameLength)
        throw ConversionError::unreadableSource("nom ZIP tronqué"_fr)
            .because("directory: a name goes on behind its end");
    entry.storedName = record.text(nameLength);
    // The end of the last record may be cut off: nothing of it is needed.
    const auto extra = record.bytes(std::min<std::size_t>(record.left(), extraLength));
    if (purpose == Purpose::listing)
        takeWideNumbers(ByteReader{extra}, entry);
    record.skip(std::min<std::size_t>(record.left(), commentLength));
    return entry;
}

void checkReadable(const Entry& entry)
{
    if (entry.isEncrypted)
        throw encryptedArchive(entry);
    if (entry.method != zip::methodStored && entry.method != zip::methodDeflated)
        throw ConversionError::unsupported(filled("méthode de compression ZIP {}"_fr, {std::to_string(entry.method)}));
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char each) { return static_cast<unsigned char>(each) < 0x80; });
}

struct Listing {
    std::uint64_t bytesInFront = 0;
    std::vector<Entry> entries;
};

Listing listingOf(const ByteSource& archive, Purpose purpose)
{
    const Tail tail{archive};
    const Directory directory = directoryOf(archive, findEndRecord(tail), purpose);
    Bytes storage;
    const std::span<const std::byte> bytes = directoryBytes(archive, tail, directory, storage);
    Listing listing{.bytesInFront = directory.bytesInFront};
    listing.entries.reserve(std::min<std::size_t>(directory.count, bytes.size() / zip::centralRecordSize));
    ByteReader records{bytes, invalidDirectory("directory: a record without its signature")};
    for (std::uint64_t i = 0; i < directory.count; ++i) {
        if (records.left() < zip::centralRecordSize)
            throw invalidDirectory("directory: ends after " + std::to_string(i) + " of " +
                                   std::to_string(directory.count) + " records");
        listing.entries.push_back(readRecord(records, purpose));
    }
    return listing;
}

} // namespace

std::string ZipArchive::Entry::name() const { return validUtf8(storedName); }

std::vector<Entry> ZipArchive::Reader::centralDirectory(const ByteSource& archive, Purpose purpose)
{
    return listingOf(archive, purpose).entries;
}

ZipArchive::Reader::Reader(const ByteSource& archive, const ResourceLimits& limits, Purpose purpose)
    : archive_{&archive}, maxEntryBytes_{limits.maxUnzippedEntryBytes}
{
    Listing listing = listingOf(archive, purpose);
    bytesInFront_ = listing.bytesInFront;
    entries_ = std::move(listing.entries);
}

const Entry* ZipArchive::Reader::entry(std::string_view name) const
{
    // Names are decoded only where the stored bytes are another text.
    const auto isNamed = [&](const Entry& e) {
        return e.storedName == name || (!isAscii(e.storedName) && e.name() == name);
    };
    const auto found = std::find_if(entries_.begin(), entries_.end(), isNamed);
    return found == entries_.end() ? nullptr : &*found;
}

std::vector<std::byte> ZipArchive::Reader::contents(const Entry& entry) const
{
    const auto tooLarge = [&] {
        return ConversionError::resourceLimit(filled("« {} » trop volumineux une fois décompressé"_fr, {entry.name()}));
    };
    if (entry.uncompressedSize > maxEntryBytes_)
        throw tooLarge();
    const std::uint64_t begin = dataOffset(entry);
    if (archive_->size() - begin < entry.compressedSize)
        throw cut(entry.storedName + ": its data end behind the file");
    // The compressed data are held in memory too; none that decode to less are twice the limit long.
    if (entry.compressedSize / 2 > maxEntryBytes_)
        throw tooLarge();
    checkReadable(entry);
    Bytes data = archive_->read(begin, std::size_t{entry.compressedSize});
    if (entry.method == zip::methodDeflated)
        data = Deflate::decompress(data, entry.uncompressedSize);
    if (CRC32::checksum(data) != entry.crc)
        throw ConversionError::unreadableSource("archive ZIP endommagée (somme de contrôle)"_fr)
            .because(entry.storedName + ": checksum");
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
    const std::uint64_t offset = bytesInFront_ + entry.localHeaderOffset;
    const Bytes header = archive_->read(offset, zip::localHeaderSize);
    ByteReader local{header, damaged(entry.storedName + ": no local header at " + std::to_string(offset))};
    local.expect(zip::localSignature);
    local.seek(26);
    const std::uint32_t variable = std::uint32_t{local.u16()} + local.u16();
    const std::uint64_t begin = offset + zip::localHeaderSize + variable;
    if (begin > archive_->size())
        throw cut(entry.storedName + ": its local header ends behind the file");
    return begin;
}

} // namespace nivex
