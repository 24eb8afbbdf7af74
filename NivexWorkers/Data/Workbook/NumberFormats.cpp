#include "NivexWorkers/Data/Workbook/NumberFormats.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <cstddef>

namespace nivex::data {
namespace {

/// What a part in brackets says: "[h]" counts hours beyond a day; colours, conditions and languages say nothing.
bool countsOn(std::string_view bracket)
{
    return !bracket.empty() &&
           (bracket.find_first_not_of("hH") == bracket.npos || bracket.find_first_not_of("mM") == bracket.npos ||
            bracket.find_first_not_of("sS") == bracket.npos);
}

} // namespace

NumberLook lookOfFormatCode(std::string_view code)
{
    bool hasDay = false;
    bool hasTime = false;
    bool hasMonthOrMinute = false;
    for (std::size_t at = 0; at < code.size(); ++at) {
        const char each = asciiLowercased(code[at]);
        if (each == ';')
            break; // what follows is for negative numbers
        if (each == '"' || each == '[') {
            const std::size_t end = code.find(each == '"' ? '"' : ']', at + 1);
            if (end == code.npos)
                break;
            if (each == '[' && countsOn(code.substr(at + 1, end - at - 1)))
                return NumberLook::duration;
            at = end;
        } else if (each == '\\' || each == '_' || each == '*') {
            ++at; // the next character stands for itself
        } else if (each == 'd' || each == 'y') {
            hasDay = true;
        } else if (each == 'h' || each == 's') {
            hasTime = true;
        } else if (each == 'm') {
            hasMonthOrMinute = true;
        } else if (each == '#' || each == '0' || each == '?') {
            if (!hasDay && !hasTime && !hasMonthOrMinute)
                return NumberLook::number; // "0" in a date stands for parts of seconds only
        } else if (startsIgnoringCase(code.substr(at), "general") || startsIgnoringCase(code.substr(at), "standard")) {
            return NumberLook::number;
        }
    }
    if (hasDay || (hasMonthOrMinute && !hasTime))
        return hasTime ? NumberLook::moment : NumberLook::day;
    return hasTime ? NumberLook::time : NumberLook::number;
}

NumberLook lookOfBuiltInFormat(int number)
{
    if (number == 22)
        return NumberLook::moment;
    if (number == 46)
        return NumberLook::duration;
    if ((number >= 18 && number <= 21) || number == 45 || number == 47 || (number >= 32 && number <= 35))
        return NumberLook::time;
    const bool isDay = (number >= 14 && number <= 17) || (number >= 27 && number <= 31) || number == 36 ||
                       (number >= 50 && number <= 58);
    return isDay ? NumberLook::day : NumberLook::number;
}

} // namespace nivex::data
