#pragma once

#include "NivexWorkers/Data/Model/TableEvents.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// Makes the rows of a table of the cells of a sheet. The table begins with the first row that has a value, whose texts
/// name the columns where they can; rows are as long as the first at least, and blank rows between others stay.
class SheetRows {
public:
    explicit SheetRows(TableEvents& table) : table_{table} {}

    /// number  counted from 1, and greater than that of the row before
    void begin(std::size_t number);
    void set(std::size_t column, ScalarKind kind, std::string_view text);
    void end();

private:
    struct Value {
        ScalarKind kind = ScalarKind::missing;
        std::size_t begin = 0;
        std::size_t size = 0;
    };

    std::span<const Scalar> cells();

    TableEvents& table_;
    std::size_t number_ = 0;
    std::size_t lastWritten_ = 0; // 0 before the first
    std::size_t width_ = 0;       // of the first row
    std::vector<Value> values_;   // of the row at hand, by their columns
    std::string texts_;
    std::vector<Scalar> cells_;
};

} // namespace nivex::data
