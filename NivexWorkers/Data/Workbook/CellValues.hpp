#pragma once

#include "NivexWorkers/Data/Model/Dates.hpp"
#include "NivexWorkers/Data/Model/Scalar.hpp"
#include "NivexWorkers/Data/Workbook/NumberFormats.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace nivex::data {

/// Thrown to end a look at a sheet for any value.
struct HasValue {};

struct CellValue {
    ScalarKind kind = ScalarKind::null;
    std::string text;
};

/// A number of a cell as JSON writes it; none for what is no number. Programs write the digits of a double that nobody
/// typed (0.30000000000000004), so long ones are told by the shortest that mean the same number.
std::optional<std::string> cellNumber(std::string_view text);

/// What a number means by the look of its cell: a date, or a length of time as text. None where it is a number.
std::optional<CellValue> cellDate(double days, NumberLook look, DayCount count);

} // namespace nivex::data
