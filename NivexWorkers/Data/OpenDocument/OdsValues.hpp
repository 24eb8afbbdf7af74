#pragma once

#include "NivexWorkers/Data/Workbook/CellValues.hpp"

#include <optional>
#include <string_view>

namespace nivex::data {

/// The value of a cell of OpenDocument; none for a cell that holds nothing.
///
/// type   office:value-type
/// value  the attribute that belongs to the type; may be empty
/// text   what the cell shows
std::optional<CellValue> odsValue(std::string_view type, std::string_view value, std::string_view text);

} // namespace nivex::data
