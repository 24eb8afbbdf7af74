#include "NivexWorkers/Document/Model/TableGrid.hpp"

#include <algorithm>

namespace nivex::document {

std::vector<std::vector<TablePlace>> gridOf(const Table& table)
{
    struct Reaching {
        TablePlace place;
        int rows = 0; // that are still to come
    };
    const std::size_t columns = table.columnCount();
    std::vector<Reaching> reaching(columns); // at the first column of each cell that goes on
    std::vector<std::vector<TablePlace>> grid;
    for (const TableRow& row : table.rows) {
        std::vector<TablePlace>& places = grid.emplace_back();
        std::size_t column = 0;
        const auto passReaching = [&] {
            while (column < columns && reaching[column].rows > 0) {
                --reaching[column].rows;
                places.push_back(reaching[column].place);
                column += places.back().columns;
            }
        };
        for (const TableCell& cell : row.cells) {
            passReaching();
            const std::size_t width =
                std::min(static_cast<std::size_t>(cell.columns), columns - std::min(columns, column));
            if (width == 0)
                break;
            places.push_back({.cell = &cell, .column = column, .columns = width});
            reaching[column] = {places.back(), cell.rows - 1};
            reaching[column].place.isFirstRow = false;
            column += width;
        }
        for (passReaching(); column < columns; passReaching())
            places.push_back({.column = column++});
    }
    return grid;
}

} // namespace nivex::document
