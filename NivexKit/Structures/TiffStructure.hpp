#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace nivex {

/// Bytes of one value of a field type (TIFF 6.0, section 2; BigTIFF), 0 for a type that is not known.
std::size_t tiffValueSize(std::uint16_t type);

/// One field of a TIFF directory: what it is and where its values stand.
struct TiffField {
    std::uint64_t entry = 0; // where its 12 bytes (BigTIFF: 20) stand in the file
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::uint64_t position = 0; // of the first value, from the start of the file, in which it need not lie
    bool isInline = true;       // the values stand in the entry itself; those of a type that is not known count so
};

struct TiffDirectory {
    std::vector<TiffField> fields; // in the order of the file
    std::uint64_t next = 0;        // where the next directory stands, as directory() takes it; 0 for none
    bool isWhole = true;           // otherwise the file ends within the fields

    /// The field of that tag; null when the directory lacks it.
    const TiffField* field(std::uint16_t tag) const;
};

/// The directories of a TIFF file, of one of its relatives among the camera raw formats, or of the Exif block inside
/// another format. Offsets in it count from where it starts.
class TiffStructure {
public:
    /// The structure that starts at `base` in the file; none when there is no such header. `file` outlives it.
    static std::optional<TiffStructure> at(const ByteSource& file, std::uint64_t base);

    ByteOrder order() const { return order_; }
    bool isBig() const { return isBig_; } // BigTIFF: counts and offsets of 64 bits
    std::uint16_t version() const { return version_; }
    std::uint64_t firstDirectory() const { return first_; }

    /// The directory at `offset`; none where there is none that can be read, or no field of a known type.
    std::optional<TiffDirectory> directory(std::uint64_t offset) const;

    /// The value number `index` of an integer field; none for another type or an absent field.
    std::optional<std::uint64_t> number(const TiffField* field, std::uint64_t index = 0) const;

    /// All values of an integer field that has no more than `most`; none where one cannot be read.
    std::optional<std::vector<std::uint64_t>> numbers(const TiffField& field, std::uint64_t most) const;

    /// Up to `maxBytes` of the values as they are stored: the letters of a text.
    std::vector<std::byte> bytes(const TiffField& field, std::size_t maxBytes) const;

private:
    TiffStructure(const ByteSource& file, std::uint64_t base, ByteOrder order, std::uint16_t version)
        : file_{&file}, base_{base}, order_{order}, version_{version}, isBig_{version == bigVersion}
    {
    }

    static constexpr std::uint16_t bigVersion = 43;

    std::uint64_t offset(ByteReader& reader) const { return isBig_ ? reader.u64() : reader.u32(); }

    const ByteSource* file_;
    std::uint64_t base_;
    ByteOrder order_;
    std::uint16_t version_;
    bool isBig_;
    std::uint64_t first_ = 0;
};

/// Tags that more than one reader asks for.
namespace tifftag {
constexpr std::uint16_t photometricInterpretation = 262;
constexpr std::uint16_t make = 271;
constexpr std::uint16_t subDirectories = 330;
constexpr std::uint16_t xmp = 700;
constexpr std::uint16_t geoKeys = 34735;
constexpr std::uint16_t gpsDirectory = 34853;
constexpr std::uint16_t dngVersion = 50706;
constexpr std::uint16_t dngPrivateData = 50740;
} // namespace tifftag

} // namespace nivex
