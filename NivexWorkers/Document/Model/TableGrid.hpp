#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <cstddef>
#include <vector>

namespace nivex::document {

/// A table as formats have it that name every place: each row tells of every column what begins or goes on there.
struct TablePlace {
    const TableCell* cell = nullptr; // null for a place that no cell takes
    bool isFirstRow = true;          // of the cell's rows
    std::size_t column = 0;          // at which the cell begins
    std::size_t columns = 1;
};

/// The places of each row of a table from left to right; a cell that spans columns is one place.
std::vector<std::vector<TablePlace>> gridOf(const Table& table);

} // namespace nivex::document
