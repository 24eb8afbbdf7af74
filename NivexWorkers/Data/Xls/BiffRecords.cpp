#include "NivexWorkers/Data/Xls/BiffRecords.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex::data {
namespace {

ConversionError damagedRecord() { return damagedContent().because("a record ends too soon"); }

/// Gathers UTF-16 units as UTF-8.
class Units {
public:
    void add(char32_t unit)
    {
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (isLow && high_ != 0) {
            appendScalar(text_, 0x10000 + ((high_ - 0xD800) << 10) + (unit - 0xDC00));
            high_ = 0;
            return;
        }
        endPair();
        if (isHigh)
            high_ = unit;
        else
            appendScalar(text_, isLow ? U'\uFFFD' : unit);
    }
    std::string text()
    {
        endPair();
        return std::move(text_);
    }

private:
    void endPair()
    {
        if (high_ != 0)
            appendScalar(text_, U'\uFFFD');
        high_ = 0;
    }

    std::string text_;
    char32_t high_ = 0;
};

} // namespace

ByteReader BiffRecord::reader() const { return ByteReader{pieces.front(), damagedRecord()}; }

BiffRecords::BiffRecords(std::span<const std::byte> stream, std::size_t position)
    : stream_{stream}, position_{std::min(position, stream.size())}
{
}

Biff BiffRecords::typeAt() const { return static_cast<Biff>(ByteReader{stream_.subspan(position_, 2)}.u16()); }

std::span<const std::byte> BiffRecords::take()
{
    const std::size_t size = ByteReader{stream_.subspan(position_ + 2, 2)}.u16();
    position_ += 4;
    if (stream_.size() - position_ < size)
        throw damagedRecord();
    position_ += size;
    return stream_.subspan(position_ - size, size);
}

std::optional<BiffRecord> BiffRecords::next()
{
    if (isAtEnd())
        return std::nullopt;
    BiffRecord record{.type = typeAt(), .pieces = {}};
    record.pieces.push_back(take());
    while (!isAtEnd() && typeAt() == Biff::continued)
        record.pieces.push_back(take());
    return record;
}

void BiffStrings::nextPiece()
{
    if (++piece_ >= record_.pieces.size())
        throw damagedRecord();
    reader_ = ByteReader{record_.pieces[piece_], damagedRecord()};
}

void BiffStrings::skip(std::size_t count)
{
    while (count > reader_.left()) {
        count -= reader_.left();
        nextPiece();
    }
    reader_.skip(count);
}

std::uint8_t BiffStrings::u8()
{
    while (isAtPieceEnd())
        nextPiece();
    return reader_.u8();
}

std::uint16_t BiffStrings::u16()
{
    const std::uint16_t low = u8();
    return static_cast<std::uint16_t>(low | u8() << 8);
}

std::uint32_t BiffStrings::u32()
{
    const std::uint32_t low = u16();
    return low | std::uint32_t{u16()} << 16;
}

std::string BiffStrings::unicode(std::size_t characters)
{
    constexpr std::uint8_t isWideFlag = 1;
    constexpr std::uint8_t hasPhonetics = 4;
    constexpr std::uint8_t hasRuns = 8;
    const std::uint8_t flags = u8();
    const std::size_t runs = (flags & hasRuns) != 0 ? u16() : 0;
    const std::size_t phonetics = (flags & hasPhonetics) != 0 ? u32() : 0;
    bool isWide = (flags & isWideFlag) != 0;
    Units units;
    for (std::size_t i = 0; i < characters; ++i) {
        if (isAtPieceEnd()) {
            nextPiece();
            isWide = (u8() & isWideFlag) != 0; // each piece of the characters tells anew
        }
        units.add(isWide ? u16() : u8());
    }
    skip(runs * 4 + phonetics);
    return units.text();
}

} // namespace nivex::data
