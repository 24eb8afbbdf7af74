#pragma once

#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nivex::data {

/// One table of a source.
struct Sheet {
    std::string name;      // empty where the format names none
    std::size_t count = 1; // of sheets in the source
    /// How many characters the values of each column have at most, where that was measured beforehand.
    std::vector<std::size_t> columnWidths;
};

/// Receives the tables of a source, row by row. For each sheet: beginSheet, header at most once, row any number of
/// times, endSheet. Rows need not be of one length.
class TableEvents {
public:
    virtual ~TableEvents() = default;

    virtual void beginSheet(const Sheet& sheet) = 0;
    /// The names of the columns; a table may have none.
    virtual void header(std::span<const Scalar> names) = 0;
    virtual void row(std::span<const Scalar> cells) = 0;
    virtual void endSheet() = 0;
    /// After the last sheet of a source.
    virtual void finish() {}
};

} // namespace nivex::data
