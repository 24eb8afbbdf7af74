#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// The records of which workbooks of Excel 5 to 2003 consist (MS-XLS, and its forerunner for versions 5 and 95).
namespace nivex::data {

enum class Biff : std::uint16_t {
    formula = 0x0006,
    endOfPart = 0x000A,
    dateMode = 0x0022,
    filePass = 0x002F,
    continued = 0x003C,
    codePage = 0x0042,
    boundSheet = 0x0085,
    multipleRk = 0x00BD,
    richString = 0x00D6,
    extendedFormat = 0x00E0,
    mergedCells = 0x00E5,
    sharedStrings = 0x00FC,
    labelOfShared = 0x00FD,
    number = 0x0203,
    label = 0x0204,
    booleanOrError = 0x0205,
    stringOfFormula = 0x0207,
    row = 0x0208,
    rk = 0x027E,
    numberFormat = 0x041E,
    beginOfPart = 0x0809,
};

struct BiffRecord {
    Biff type{};
    std::vector<std::span<const std::byte>> pieces; // its own bytes, and those of the records that continue it

    /// Of the first piece; an overrun is damaged content.
    ByteReader reader() const;
};

/// Walks through the records of a stream.
class BiffRecords {
public:
    /// position  of the first record; one behind the stream ends the walk at once
    BiffRecords(std::span<const std::byte> stream, std::size_t position);

    /// The next record with what continues it; none at the end. A record that the end cuts is damaged content.
    std::optional<BiffRecord> next();

private:
    bool isAtEnd() const { return stream_.size() - position_ < 4; }
    Biff typeAt() const;
    std::span<const std::byte> take();

    std::span<const std::byte> stream_;
    std::size_t position_ = 0;
};

/// Reads strings that may go on in continuing records.
class BiffStrings {
public:
    explicit BiffStrings(const BiffRecord& record) : record_{record}, reader_{record.reader()} {}

    /// Moves on in the first piece.
    void skip(std::size_t count);
    std::uint32_t u32();

    /// A string as version 8 has it, behind its count of characters of two bytes.
    std::string unicode() { return unicode(u16()); }
    std::string unicode(std::size_t characters);

private:
    std::uint8_t u8();
    std::uint16_t u16();
    bool isAtPieceEnd() const { return reader_.left() == 0; }
    void nextPiece();

    const BiffRecord& record_;
    std::size_t piece_ = 0;
    ByteReader reader_;
};

} // namespace nivex::data
