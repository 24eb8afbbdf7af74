#pragma once

#include "NivexWorkers/Data/Csv/CsvRecords.hpp"
#include "NivexWorkers/Data/Model/ValueTypes.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nivex::data {

/// What the values of one column are.
struct CsvColumn {
    ValueTypes types;
    std::size_t width = 0; // characters of the longest value
};

/// A look through a whole table before it is converted.
class CsvSurvey {
public:
    void add(const std::vector<CsvField>& record);

    std::size_t rows() const { return rows_; }
    std::size_t columnCount() const { return columns_.size(); }
    std::vector<CsvColumn> columns() const;

    /// Whether the first record names the columns: it does unless its values are of the same types as those below.
    bool hasHeader() const;

    /// Records that have not as many values as the first.
    std::size_t raggedRows() const { return ragged_; }

    /// Whether quotes tell texts from numbers: numbers stand without, so what stands in quotes is text.
    bool quotesMeanText() const { return hasBareNumbers_; }

private:
    struct Column {
        LookCounts looks; // of the values below the first record
        Look first = Look::empty;
        std::size_t width = 0;
        bool isYear = true; // of whole numbers that can all be years
    };

    std::vector<Column> columns_;
    std::vector<std::string> firstRecord_;
    std::size_t rows_ = 0;
    std::size_t ragged_ = 0;
    bool hasBareNumbers_ = false;
};

} // namespace nivex::data
