#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// ZIP archives with stored and deflated entries; neither the 64-bit extension nor encryption.
class ZipArchive {
public:
    /// One record of the central directory.
    struct Entry {
        std::string storedName; // the bytes of the archive, in whatever encoding
        std::uint16_t method = 0;
        std::uint32_t compressedSize = 0;
        std::uint32_t uncompressedSize = 0;
        std::uint32_t crc = 0; // of the uncompressed data
        std::uint32_t localHeaderOffset = 0;
        bool isEncrypted = false;

        /// The path inside the archive, "/" as separator, always UTF-8. It comes from the archive: it may be absolute,
        /// hold ".." or occur twice, and must not be used as the name of a file.
        std::string name() const;

        bool operator==(const Entry&) const = default;
    };

    class Reader;
    class Writer;
};

/// Reads an archive that the caller keeps alive, a file as well as bytes: the list of entries costs two reads near the
/// end, an entry two more. Bytes in front of an archive that its offsets do not count are passed over. Any thread.
class ZipArchive::Reader {
public:
    /// Who only lists sees encrypted entries and directories of the 64-bit extension too.
    enum class Purpose { extracting, listing };

    /// The records of the central directory, in its order.
    ///
    /// errors   unreadableSource when there is no sound directory of at most 20,000 entries and 128 MiB; unsupported,
    ///          unless listing, for an archive that needs the 64-bit extension and for encrypted entries
    static std::vector<Entry> centralDirectory(const ByteSource& archive, Purpose purpose = Purpose::extracting);

    /// Reads the central directory; errors as there.
    explicit Reader(const ByteSource& archive, const ResourceLimits& limits = ResourceLimits::standard(),
                    Purpose purpose = Purpose::extracting);

    const std::vector<Entry>& entries() const { return entries_; }

    /// The first entry of exactly that name; null when there is none.
    const Entry* entry(std::string_view name) const;

    /// The uncompressed bytes of an entry, checked against its checksum.
    ///
    /// errors   unreadableSource when the archive is damaged there, unsupported for other methods than stored and
    ///          deflated and for encrypted entries, resourceLimit for an entry above the limits
    std::vector<std::byte> contents(const Entry& entry) const;

    /// Up to `maxBytes` uncompressed bytes from the beginning of an entry, unchecked: for a look inside that reads no
    /// more than about that much. Errors as `contents`, save that invalid data only end the result.
    std::vector<std::byte> prefix(const Entry& entry, std::size_t maxBytes) const;

    /// Where the data of an entry begin, as they are stored, for who reads an entry of any size piece by piece. Whether
    /// they lie in the archive whole, and by what method, is the caller's to check. Throws unreadableSource.
    std::uint64_t dataOffset(const Entry& entry) const;

private:
    const ByteSource* archive_;
    std::int64_t maxEntryBytes_;
    std::uint64_t bytesInFront_ = 0;
    std::vector<Entry> entries_;
};

/// Builds an archive in memory, entry by entry.
class ZipArchive::Writer {
public:
    using LocalTime = std::function<std::tm()>;

    /// The present moment in the time zone of the machine.
    static std::tm systemLocalTime();

    explicit Writer(LocalTime localTime = systemLocalTime) : localTime_{std::move(localTime)} {}

    /// Adds an entry that carries the present moment.
    ///
    /// compress    deflate, where that makes the data smaller and they are longer than 64 bytes
    /// alignment   2 to 32,768: the data begin at a multiple of it; 1 or less: anywhere
    /// errors      resourceLimit when the archive grows beyond 4 GiB, has more than 65,535 entries, or for a name of
    /// more
    ///             than 65,535 bytes; the archive is then as before
    void add(std::string_view name, std::span<const std::byte> data, bool compress, int alignment = 1);

    /// The whole archive. The writer is used up.
    std::vector<std::byte> finish();

private:
    LocalTime localTime_;
    std::vector<std::byte> bytes_; // local headers, each followed by its data
    std::vector<std::byte> directory_;
    std::uint16_t count_ = 0;
};

} // namespace nivex
