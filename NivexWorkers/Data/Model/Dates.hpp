#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Days and moments as ISO 8601 writes them and as spreadsheets count them.
namespace nivex::data {

/// From which day on a workbook counts.
enum class DayCount : std::uint8_t {
    from1900, // day 1 is 1 January 1900; day 60 is a 29 February that there was not
    from1904, // day 0 is 1 January 1904
};

/// The day, moment or time of day that a spreadsheet counts as `days`, as ISO 8601 has it; to the millisecond. None for
/// what no date is: before the first day of the count or after the year 9999.
///
/// hasDay   whether the day is shown: without it, less than one day is a time of day
/// hasTime  whether the time is shown; one that is there is told in any case
std::optional<std::string> dateOfDays(double days, DayCount count, bool hasDay, bool hasTime);

/// The length of time, in hours, minutes and seconds: "49:30:00".
std::string durationOfDays(double days);

enum class DateParts : std::uint8_t { day, moment, time };

struct CountedDate {
    double days = 0;
    DateParts parts = DateParts::day;
};

/// What a spreadsheet that counts from 1900 stores for a date ("2024-01-31", "2024-01-31T09:30:00", with a space or
/// decimals of seconds, "09:30:00"). None for another text, for a moment in a time zone, and before 1 March 1900, where
/// spreadsheets do not agree.
std::optional<CountedDate> countedDate(std::string_view text);

} // namespace nivex::data
