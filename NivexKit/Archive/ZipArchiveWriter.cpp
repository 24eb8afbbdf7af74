#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Archive/ZipFormat.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cassert>
#include <limits>
#include <optional>
#include <utility>

namespace nivex {
namespace {

constexpr std::uint16_t version = 20; // deflated entries and folders
constexpr std::uint16_t utf8Names = 0x0800;
constexpr std::uint16_t paddingID = 0x1986;
constexpr std::size_t paddingHeaderSize = 4;
constexpr std::size_t shortestCompressed = 65;
constexpr std::uint64_t max32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t max16 = std::numeric_limits<std::uint16_t>::max();

using Bytes = std::vector<std::byte>;

/// Appends little-endian numbers to bytes.
class Appender {
public:
    explicit Appender(Bytes& bytes) : bytes_{bytes} {}

    Appender& u16(std::uint16_t value) { return number(value, 2); }
    Appender& u32(std::uint32_t value) { return number(value, 4); }
    Appender& bytes(std::span<const std::byte> data)
    {
        bytes_.insert(bytes_.end(), data.begin(), data.end());
        return *this;
    }

private:
    Appender& number(std::uint32_t value, int width)
    {
        for (int i = 0; i < width; ++i)
            bytes_.push_back(static_cast<std::byte>(value >> (8 * i)));
        return *this;
    }

    Bytes& bytes_;
};

struct DosTime {
    std::uint16_t time = 0;
    std::uint16_t date = 0;
};

DosTime dosTime(const std::tm& moment)
{
    return {
        static_cast<std::uint16_t>(moment.tm_hour * 2048 + moment.tm_min * 32 + moment.tm_sec / 2),
        static_cast<std::uint16_t>((moment.tm_year + 1900 - 1980) * 512 + (moment.tm_mon + 1) * 32 + moment.tm_mday)};
}

/// The fields that the local header and the central record have in common, from the version needed to the name length.
struct SharedFields {
    std::uint16_t method = 0;
    DosTime moment;
    std::uint32_t crc = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t nameLength = 0;

    void appendTo(Appender& to) const
    {
        to.u16(version).u16(utf8Names).u16(method).u16(moment.time).u16(moment.date);
        to.u32(crc).u32(compressedSize).u32(uncompressedSize).u16(nameLength);
    }
};

/// How many bytes of padding put the data at a multiple of `alignment`, when they would begin at `offset` without.
std::uint16_t padding(std::uint64_t offset, int alignment)
{
    const auto step = static_cast<std::uint64_t>(alignment);
    return static_cast<std::uint16_t>((step - offset % step) % step);
}

void appendPadding(Appender& to, std::uint16_t count) { to.u16(paddingID).u16(count).bytes(Bytes(count)); }

std::optional<Bytes> smallerForm(std::span<const std::byte> data)
{
    if (data.size() < shortestCompressed)
        return std::nullopt;
    return Deflate::process(Deflate::Direction::encode, data, data.size() - 1);
}

ConversionError beyond32Bits() { return ConversionError::resourceLimit("archive de plus de 4 Go"_fr); }

} // namespace

std::tm ZipArchive::Writer::systemLocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm moment{};
    ::localtime_r(&now, &moment);
    return moment;
}

void ZipArchive::Writer::add(std::string_view name, std::span<const std::byte> data, bool compress, int alignment)
{
    assert(alignment <= 32'768);
    if (name.size() > max16)
        throw ConversionError::resourceLimit("nom trop long pour une archive ZIP"_fr);
    if (count_ == max16)
        throw ConversionError::resourceLimit("archive de plus de 65 535 fichiers"_fr);
    if (data.size() > max32 || bytes_.size() > max32)
        throw beyond32Bits();

    const std::optional<Bytes> deflated = compress ? smallerForm(data) : std::nullopt;
    const std::span<const std::byte> stored = deflated ? std::span<const std::byte>{*deflated} : data;
    const SharedFields fields{.method = deflated ? zip::methodDeflated : zip::methodStored,
                              .moment = dosTime(localTime_()),
                              .crc = CRC32::checksum(data),
                              .compressedSize = static_cast<std::uint32_t>(stored.size()),
                              .uncompressedSize = static_cast<std::uint32_t>(data.size()),
                              .nameLength = static_cast<std::uint16_t>(name.size())};
    const bool aligned = alignment >= 2;
    const std::uint64_t offset = bytes_.size();
    const std::uint16_t pad = aligned
                                  ? padding(offset + zip::localHeaderSize + name.size() + paddingHeaderSize, alignment)
                                  : std::uint16_t{0};
    const auto nameBytes = std::as_bytes(std::span{name});

    Appender local{bytes_};
    local.u32(zip::localSignature);
    fields.appendTo(local);
    local.u16(aligned ? static_cast<std::uint16_t>(paddingHeaderSize + pad) : std::uint16_t{0}).bytes(nameBytes);
    if (aligned)
        appendPadding(local, pad);
    local.bytes(stored);

    Appender central{directory_};
    central.u32(zip::centralSignature).u16(version);
    fields.appendTo(central);
    central.u16(0).u16(0);        // extra field and comment
    central.u16(0).u16(0).u32(0); // disk number and attributes
    central.u32(static_cast<std::uint32_t>(offset)).bytes(nameBytes);
    ++count_;
}

std::vector<std::byte> ZipArchive::Writer::finish()
{
    const std::uint64_t offset = bytes_.size();
    if (offset > max32 || directory_.size() > max32)
        throw beyond32Bits();
    Appender end{bytes_};
    end.bytes(directory_).u32(zip::endSignature);
    end.u16(0).u16(0); // this disk and the directory's
    end.u16(count_).u16(count_);
    end.u32(static_cast<std::uint32_t>(directory_.size())).u32(static_cast<std::uint32_t>(offset));
    end.u16(0); // comment
    return std::move(bytes_);
}

} // namespace nivex
