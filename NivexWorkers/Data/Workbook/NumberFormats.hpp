#pragma once

#include <string_view>

namespace nivex::data {

/// What a number of a spreadsheet stands for, by the format in which it is shown.
enum class NumberLook : unsigned char { number, day, time, moment, duration };

/// The look that a number format has by its code ("dd/mm/yyyy", "#,##0.00", "[h]:mm").
NumberLook lookOfFormatCode(std::string_view code);

/// The look of a format that files only name by its number (ECMA-376 part 1, 18.8.30).
NumberLook lookOfBuiltInFormat(int number);

} // namespace nivex::data
