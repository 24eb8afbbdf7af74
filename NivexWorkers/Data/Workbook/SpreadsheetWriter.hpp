#pragma once

#include "NivexWorkers/Data/Model/Dates.hpp"
#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"
#include "NivexWorkers/Data/Zip/ArchiveWriter.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// What the writers of spreadsheets have in common: sheets with names of their own, columns as wide as their values,
/// values with their types, and rows that go on in another sheet where one is full. How a sheet, a row and a cell look
/// in the file is for the format to say, which adds them to `xml_`.
class SpreadsheetWriter : public TableEvents {
public:
    void beginSheet(const Sheet& sheet) override;
    void header(std::span<const Scalar> names) override;
    void row(std::span<const Scalar> cells) override;
    void endSheet() override;

protected:
    explicit SpreadsheetWriter(Output& output) : output_{output}, archive_{output.single()} {}

    /// A sheet of the last of `sheetNames` begins.
    virtual void openSheet() = 0;
    /// What stands before the rows of a sheet. The widths of its columns are known.
    virtual std::string sheetTop() = 0;
    virtual std::string_view sheetEnd() = 0;
    /// Behind `sheetEnd`.
    virtual void closeSheet() {}
    virtual void openRow(std::size_t cells) = 0;
    virtual std::string_view rowEnd() = 0;
    virtual void emptyCell() {}
    virtual void numberCell(std::size_t column, std::string_view number) = 0;
    virtual void booleanCell(std::size_t column, bool value) = 0;
    /// text  the date as ISO 8601 has it
    virtual void dateCell(std::size_t column, std::string_view text, const CountedDate& date) = 0;
    virtual void textCell(std::size_t column, std::string_view text, bool isHeader) = 0;

    const std::vector<std::string>& sheetNames() const { return sheetNames_; }
    bool hasHeader() const { return !header_.empty(); }
    std::size_t columnCount() const;
    /// Of the column, in characters, with some room.
    std::size_t columnWidth(std::size_t column) const;
    /// Of the row at hand, counted from 1.
    std::size_t rowNumber() const { return rows_; }

    static constexpr std::size_t narrowest = 10; // characters, of a column
    static constexpr std::size_t widest = 62;

    Output& output_;
    ArchiveWriter archive_;
    std::string xml_; // rows that wait to be written

private:
    void begin();
    void end();
    void writeHeader();
    void beginRow(std::size_t cells);
    void endRow();
    void cell(std::size_t column, const Scalar& scalar);
    void text(std::size_t column, std::string_view text, bool isHeader);
    void measure(std::size_t column, std::size_t width);
    void flush();

    std::vector<std::string> sheetNames_; // of all that were begun
    std::string wantedName_;              // of the table at hand
    std::vector<std::string> header_;
    std::vector<std::size_t> widths_; // of columns, in characters
    bool areWidthsKnown_ = false;     // otherwise they are measured while rows wait
    bool hasTop_ = false;             // whether the beginning of the sheet is written
    std::size_t rows_ = 0;            // of the sheet
};

} // namespace nivex::data
