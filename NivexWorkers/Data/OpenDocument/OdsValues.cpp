#include "NivexWorkers/Data/OpenDocument/OdsValues.hpp"

#include <charconv>

namespace nivex::data {
namespace {

/// "2024-01-31T09:30:00.500000000" without the zeros that say nothing.
std::string shortDate(std::string_view value)
{
    std::string date{value};
    const std::size_t point = date.find('.');
    if (point == date.npos || date.find_first_not_of("0123456789", point + 1) != date.npos)
        return date;
    date.erase(date.find_last_not_of('0') + 1);
    if (date.back() == '.')
        date.pop_back();
    return date;
}

/// Days of a length of time as XML Schema writes it: "PT09H30M00S".
std::optional<double> durationDays(std::string_view value)
{
    const bool isNegative = value.starts_with('-');
    value.remove_prefix(isNegative ? 1 : 0);
    if (!value.starts_with("P"))
        return std::nullopt;
    value.remove_prefix(1);
    double seconds = 0;
    bool isTime = false;
    while (!value.empty()) {
        if (value.front() == 'T') {
            isTime = true;
            value.remove_prefix(1);
            continue;
        }
        double number = 0;
        const auto [end, failure] = std::from_chars(value.data(), value.data() + value.size(), number);
        value.remove_prefix(static_cast<std::size_t>(end - value.data()));
        const char unit = value.empty() ? '\0' : value.front();
        const double weight = unit == 'D'             ? 86'400
                              : isTime && unit == 'H' ? 3'600
                              : isTime && unit == 'M' ? 60
                              : unit == 'S'           ? 1
                                                      : 0;
        if (failure != std::errc{} || weight == 0)
            return std::nullopt;
        seconds += number * weight;
        value.remove_prefix(1);
    }
    return (isNegative ? -seconds : seconds) / 86'400;
}

} // namespace

std::optional<CellValue> odsValue(std::string_view type, std::string_view value, std::string_view text)
{
    if (type == "float" || type == "percentage" || type == "currency")
        if (auto number = cellNumber(value))
            return CellValue{ScalarKind::number, *std::move(number)};
    if (type == "boolean" && !value.empty())
        return CellValue{ScalarKind::boolean, value == "true" ? "true" : "false"};
    if (type == "date" && !value.empty())
        return CellValue{ScalarKind::date, shortDate(value)};
    if (type == "time")
        if (const auto days = durationDays(value)) {
            const bool isTimeOfDay = *days >= 0 && *days < 1;
            return cellDate(*days, isTimeOfDay ? NumberLook::time : NumberLook::duration, DayCount::from1900);
        }
    if (type == "string" && !value.empty())
        return CellValue{ScalarKind::text, std::string{value}};
    if (text.empty() && type != "string")
        return std::nullopt;
    return CellValue{ScalarKind::text, std::string{text}};
}

} // namespace nivex::data
