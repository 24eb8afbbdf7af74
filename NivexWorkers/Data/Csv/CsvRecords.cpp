#include "NivexWorkers/Data/Csv/CsvRecords.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace nivex::data {
namespace {

constexpr std::size_t blockSize = 64; // one bit of a word for each byte
constexpr std::size_t smallestPiece = 1 << 12;
constexpr std::size_t largestPiece = 1 << 18;

/// Which of the 64 bytes end a field or open quotes, the first in the lowest bit.
std::uint64_t specialsOf(const char* bytes, const CsvDialect& dialect)
{
#ifdef __SSE2__
    const __m128i separator = _mm_set1_epi8(dialect.separator);
    const __m128i lineFeed = _mm_set1_epi8('\n');
    const __m128i carriageReturn = _mm_set1_epi8('\r');
    std::uint64_t mask = 0;
    for (int part = 0; part < 4; ++part) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 16 * part));
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(block, separator), _mm_cmpeq_epi8(block, lineFeed));
        const __m128i found = _mm_or_si128(ends, _mm_cmpeq_epi8(block, carriageReturn));
        mask |= std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(found))} << (16 * part);
    }
    return mask;
#else
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < blockSize; ++i) {
        const char each = bytes[i];
        mask |= std::uint64_t{each == dialect.separator || each == '\n' || each == '\r'} << i;
    }
    return mask;
#endif
}

} // namespace

CsvRecords::CsvRecords(Fill fill, CsvDialect dialect, std::uint64_t textBytes)
    : fill_{std::move(fill)}, dialect_{dialect}, pieceSize_{static_cast<std::size_t>(
                                                     std::clamp<std::uint64_t>(textBytes, smallestPiece, largestPiece))}
{
    buffer_.resize(pieceSize_ + blockSize);
    skipPrologue(dialect.prologueBytes);
}

void CsvRecords::skipPrologue(std::size_t count)
{
    while (textEnd_ < count && refill()) {
    }
    recordAt_ = std::min(count, textEnd_);
    line_ += count > 0;
}

/// Moves what is left to the front and adds more text behind it. False at the end of the text.
bool CsvRecords::refill()
{
    if (atEnd_)
        return false;
    hasBlock_ = false;
    const std::size_t left = textEnd_ - recordAt_;
    if (left > maxRecordBytes)
        throw ConversionError::resourceLimit(filled("l'enregistrement de la ligne {} dépasse {} Mo"_fr,
                                                    {std::to_string(line_), std::to_string(maxRecordBytes >> 20)}));
    std::memmove(buffer_.data(), buffer_.data() + recordAt_, left);
    recordAt_ = 0;
    if (buffer_.size() - blockSize - left < pieceSize_ / 2)
        buffer_.resize(2 * (buffer_.size() - blockSize) + blockSize);
    const std::size_t room = buffer_.size() - blockSize - left;
    const std::size_t count = fill_(std::span{buffer_}.subspan(left, room));
    textEnd_ = left + count;
    std::memset(buffer_.data() + textEnd_, 0, blockSize);
    atEnd_ = count == 0;
    return !atEnd_;
}

const std::vector<CsvField>* CsvRecords::next()
{
    while (true) {
        recordLine_ = line_;
        if (recordAt_ < textEnd_ && scan() == Found::record)
            break;
        if (!refill() && recordAt_ == textEnd_)
            return nullptr;
    }
    fields_.resize(extents_.size());
    for (std::size_t i = 0; i < extents_.size(); ++i)
        finish(extents_[i], fields_[i]);
    recordAt_ = scanned_;
    return &fields_;
}

void CsvRecords::loadBlock(std::size_t at)
{
    blockAt_ = at;
    specials_ = specialsOf(buffer_.data() + at, dialect_);
    hasBlock_ = true;
}

/// The first separator or line end at or behind a place; the end of the text where there is none.
std::size_t CsvRecords::findSpecial(std::size_t from)
{
    if (!hasBlock_ || from < blockAt_ || from - blockAt_ >= blockSize)
        loadBlock(from);
    std::uint64_t mask = specials_ >> (from - blockAt_) << (from - blockAt_);
    while (mask == 0) {
        if (blockAt_ + blockSize >= textEnd_)
            return textEnd_;
        loadBlock(blockAt_ + blockSize);
        mask = specials_;
    }
    return std::min(blockAt_ + static_cast<std::size_t>(std::countr_zero(mask)), textEnd_);
}

/// Finds the fields of the record at `recordAt_`, changing nothing in the buffer: without its end it is scanned anew
/// when there is more text.
CsvRecords::Found CsvRecords::scan()
{
    extents_.clear();
    line_ = recordLine_;
    std::size_t at = recordAt_;
    while (true) {
        // Filled in place: what is written in parts and then copied as a whole makes the processor wait.
        Extent& field = extents_.emplace_back();
        field.begin = at;
        std::size_t end = 0;
        if (dialect_.quote != CsvDialect::noQuote && buffer_[at] == dialect_.quote && at < textEnd_) {
            if (scanQuoted(at, field) == Found::moreNeeded)
                return Found::moreNeeded;
            end = at;
        } else {
            end = findSpecial(at);
            field.end = end;
        }
        if (end == textEnd_ && !atEnd_)
            return Found::moreNeeded;
        if (end < textEnd_ && buffer_[end] == dialect_.separator) {
            at = end + 1;
            continue;
        }
        if (end < textEnd_ && buffer_[end] == '\r') {
            if (end + 1 == textEnd_ && !atEnd_)
                return Found::moreNeeded;
            end += buffer_[end + 1] == '\n' && end + 1 < textEnd_;
        }
        scanned_ = std::min(end + 1, textEnd_);
        ++line_;
        return Found::record;
    }
}

/// Passes over a field in quotes; `at` is then behind it.
CsvRecords::Found CsvRecords::scanQuoted(std::size_t& at, Extent& field)
{
    field.isQuoted = true;
    std::size_t from = at + 1;
    while (true) {
        const auto* closing =
            static_cast<const char*>(std::memchr(buffer_.data() + from, dialect_.quote, textEnd_ - from));
        if (closing == nullptr) {
            if (atEnd_)
                throw ConversionError::unreadableSource(
                    filled("un guillemet ouvert à la ligne {} n'est jamais fermé"_fr, {std::to_string(recordLine_)}));
            return Found::moreNeeded;
        }
        const auto quoteAt = static_cast<std::size_t>(closing - buffer_.data());
        if (quoteAt + 1 == textEnd_ && !atEnd_)
            return Found::moreNeeded;
        if (quoteAt + 1 < textEnd_ && buffer_[quoteAt + 1] == dialect_.quote) {
            field.needsCompacting = true;
            from = quoteAt + 2;
            continue;
        }
        line_ += static_cast<std::uint64_t>(std::count(buffer_.data() + at + 1, buffer_.data() + quoteAt, '\n'));
        field.begin = at + 1;
        field.end = quoteAt;
        at = findSpecial(quoteAt + 1);
        if (at > quoteAt + 1) {
            field.needsCompacting = true;
            field.end = at;
        }
        return Found::record;
    }
}

void CsvRecords::finish(const Extent& extent, CsvField& field)
{
    field.isQuoted = extent.isQuoted;
    const std::size_t end = extent.needsCompacting ? compacted(extent) : extent.end;
    field.text = {buffer_.data() + extent.begin, end - extent.begin};
}

/// Takes the quotes out of a field that holds some. Returns where its text then ends.
std::size_t CsvRecords::compacted(const Extent& field)
{
    std::size_t to = field.begin;
    bool isInside = true;
    for (std::size_t from = field.begin; from < field.end; ++from) {
        if (isInside && buffer_[from] == dialect_.quote) {
            if (from + 1 < field.end && buffer_[from + 1] == dialect_.quote)
                ++from;
            else {
                isInside = false; // what follows is outside, and stays as it is
                continue;
            }
        }
        buffer_[to++] = buffer_[from];
    }
    return to;
}

} // namespace nivex::data
