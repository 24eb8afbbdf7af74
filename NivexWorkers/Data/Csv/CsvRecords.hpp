#pragma once

#include "NivexWorkers/Data/Csv/CsvDialect.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

struct CsvField {
    std::string_view text; // without its quotes
    bool isQuoted = false;
};

/// Cuts delimited text into records of fields: RFC 4180, any line end, and what programs write beside it. Text behind a
/// closing quote belongs to the field, and so does a quote inside a field that none opens.
class CsvRecords {
public:
    /// Fills a buffer with more text; 0 at the end.
    using Fill = std::function<std::size_t(std::span<char>)>;

    /// Bytes of one record at most: a quote that is never closed must not draw the whole file into memory.
    static constexpr std::size_t maxRecordBytes = 64 << 20;

    /// textBytes  about how much text there is, where that is known: the buffer is no larger than it needs to be
    CsvRecords(Fill fill, CsvDialect dialect, std::uint64_t textBytes = std::numeric_limits<std::uint64_t>::max());

    /// The next record, or null at the end; it holds until the next call. An empty line is a record of one empty field.
    ///
    /// errors   unreadableSource for a quote that is never closed, with its line; resourceLimit for a longer record
    const std::vector<CsvField>* next();

    /// The line on which the last record began, counted from 1.
    std::uint64_t line() const { return recordLine_; }

    /// A place in the text of a field of the last record, to be changed.
    char& at(const char* inField) { return buffer_[static_cast<std::size_t>(inField - buffer_.data())]; }

private:
    /// A field as it stands in the buffer, offsets from its beginning.
    struct Extent {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool isQuoted = false;
        bool needsCompacting = false; // holds doubled quotes, or text behind the closing one
    };
    enum class Found { record, moreNeeded };

    Found scan();
    Found scanQuoted(std::size_t& at, Extent& field);
    bool refill();
    void skipPrologue(std::size_t count);
    std::size_t findSpecial(std::size_t from);
    void loadBlock(std::size_t at);
    void finish(const Extent& extent, CsvField& field);
    std::size_t compacted(const Extent& field);

    Fill fill_;
    CsvDialect dialect_;
    std::size_t pieceSize_;    // of the text that is asked for at a time, at least half of it
    std::string buffer_;       // of text, and zeros behind it
    std::size_t textEnd_ = 0;  // in the buffer
    std::size_t recordAt_ = 0; // where the next record begins
    std::size_t scanned_ = 0;  // behind the record that was found
    bool atEnd_ = false;
    std::uint64_t line_ = 1;
    std::uint64_t recordLine_ = 1;
    std::size_t blockAt_ = 0; // 64 bytes whose special characters are known
    std::uint64_t specials_ = 0;
    bool hasBlock_ = false;
    std::vector<Extent> extents_;
    std::vector<CsvField> fields_;
};

} // namespace nivex::data
