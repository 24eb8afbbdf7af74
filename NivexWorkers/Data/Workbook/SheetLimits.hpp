#pragma once

#include <cstddef>

/// What a sheet of a workbook has room for.
namespace nivex::data {

constexpr std::size_t maxSheetRows = 1'048'576;
constexpr std::size_t maxSheetColumns = 16'384;
constexpr std::size_t maxCellCharacters = 32'767; // UTF-16 units

} // namespace nivex::data
