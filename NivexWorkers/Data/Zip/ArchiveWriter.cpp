#include "NivexWorkers/Data/Zip/ArchiveWriter.hpp"

#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/ZipFormat.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <isa-l/igzip_lib.h>

#include <limits>
#include <span>

namespace nivex::data {
namespace {

constexpr std::uint16_t version = 20; // deflated entries
constexpr std::uint16_t utf8Names = 0x0800;
// The same data give the same file, whenever it is written: the first day that the format knows.
constexpr std::uint16_t firstDay = (1 << 5) | 1;
constexpr std::uint64_t max32 = std::numeric_limits<std::uint32_t>::max();

void requireRoom(std::uint64_t bytes)
{
    if (bytes > max32)
        throw ConversionError::resourceLimit("archive de plus de 4 Go"_fr);
}

} // namespace

ArchiveWriter::ArchiveWriter(const std::filesystem::path& location)
    : file_{location}, stream_{std::make_unique<isal_zstream>()}, levelBuffer_(ISAL_DEF_LVL1_DEFAULT),
      deflated_(1 << 16, '\0')
{
}

ArchiveWriter::~ArchiveWriter() = default;

void ArchiveWriter::put(std::string_view bytes)
{
    file_.write(bytes);
    position_ += bytes.size();
}

void ArchiveWriter::beginEntry(std::string_view name, std::uint16_t method)
{
    requireRoom(position_);
    entries_.push_back({.name = std::string{name}, .method = method, .offset = position_});
    // The checksum and the sizes are put in when they are known.
    ByteWriter header{ByteOrder::little};
    header.u32(zip::localSignature).u16(version).u16(utf8Names).u16(method).u16(0).u16(firstDay);
    header.zeros(12).u16(static_cast<std::uint16_t>(name.size())).u16(0).text(name);
    put(header.view());
}

void ArchiveWriter::addStored(std::string_view name, std::string_view contents)
{
    beginEntry(name, zip::methodStored);
    Entry& entry = entries_.back();
    entry.uncompressedSize = entry.compressedSize = contents.size();
    entry.crc = CRC32::checksum(std::as_bytes(std::span{contents}));
    put(contents);
    putSizes();
}

void ArchiveWriter::begin(std::string_view name)
{
    beginEntry(name, zip::methodDeflated);
    isal_deflate_init(stream_.get());
    stream_->level = 1;
    stream_->level_buf = levelBuffer_.data();
    stream_->level_buf_size = static_cast<std::uint32_t>(levelBuffer_.size());
}

void ArchiveWriter::write(std::string_view contents)
{
    Entry& entry = entries_.back();
    entry.uncompressedSize += contents.size();
    requireRoom(entry.uncompressedSize);
    entry.crc = CRC32::checksum(std::as_bytes(std::span{contents}), entry.crc);
    // The library reads only.
    stream_->next_in = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(contents.data()));
    stream_->avail_in = static_cast<std::uint32_t>(contents.size());
    deflate(false);
}

/// Compresses what the stream was given; with the last of an entry, ends its data.
void ArchiveWriter::deflate(bool isLast)
{
    stream_->end_of_stream = isLast;
    do {
        stream_->next_out = reinterpret_cast<std::uint8_t*>(deflated_.data());
        stream_->avail_out = static_cast<std::uint32_t>(deflated_.size());
        if (isal_deflate(stream_.get()) != COMP_OK)
            throw ConversionError::encodingFailed("la compression a échoué"_fr);
        const std::size_t count = deflated_.size() - stream_->avail_out;
        put(std::string_view{deflated_}.substr(0, count));
        entries_.back().compressedSize += count;
    } while (stream_->avail_out == 0 || stream_->avail_in > 0);
}

void ArchiveWriter::end()
{
    deflate(true);
    putSizes();
}

void ArchiveWriter::putSizes()
{
    const Entry& entry = entries_.back();
    requireRoom(entry.compressedSize);
    ByteWriter sizes{ByteOrder::little};
    sizes.u32(entry.crc).u32(static_cast<std::uint32_t>(entry.compressedSize));
    sizes.u32(static_cast<std::uint32_t>(entry.uncompressedSize));
    file_.writeAt(entry.offset + 14, sizes.view());
}

void ArchiveWriter::finish()
{
    requireRoom(position_);
    const std::uint64_t directoryOffset = position_;
    for (const Entry& entry : entries_) {
        ByteWriter record{ByteOrder::little};
        record.u32(zip::centralSignature).u16(version).u16(version).u16(utf8Names).u16(entry.method);
        record.u16(0).u16(firstDay).u32(entry.crc).u32(static_cast<std::uint32_t>(entry.compressedSize));
        record.u32(static_cast<std::uint32_t>(entry.uncompressedSize));
        record.u16(static_cast<std::uint16_t>(entry.name.size())).zeros(12);
        record.u32(static_cast<std::uint32_t>(entry.offset)).text(entry.name);
        put(record.view());
    }
    const auto count = static_cast<std::uint16_t>(entries_.size());
    ByteWriter last{ByteOrder::little};
    last.u32(zip::endSignature).zeros(4).u16(count).u16(count);
    last.u32(static_cast<std::uint32_t>(position_ - directoryOffset)).u32(static_cast<std::uint32_t>(directoryOffset));
    last.u16(0);
    put(last.view());
    file_.finish();
}

} // namespace nivex::data
