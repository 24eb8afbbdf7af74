#include "NivexWorkers/Data/Workbook/CellValues.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"

#include <charconv>
#include <cmath>

namespace nivex::data {

std::optional<std::string> cellNumber(std::string_view text)
{
    constexpr std::size_t neverLong = 15; // digits that every double holds
    if (text.size() <= neverLong && isJsonNumber(text))
        return std::string{text};
    double value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return shortestNumber(value);
}

std::optional<CellValue> cellDate(double days, NumberLook look, DayCount count)
{
    constexpr double longest = 1e6;
    if (look == NumberLook::number)
        return std::nullopt;
    if (look == NumberLook::duration)
        return std::abs(days) < longest ? std::optional{CellValue{ScalarKind::text, durationOfDays(days)}}
                                        : std::nullopt;
    auto date = dateOfDays(days, count, look != NumberLook::time, look != NumberLook::day);
    return date ? std::optional{CellValue{ScalarKind::date, *std::move(date)}} : std::nullopt;
}

} // namespace nivex::data
