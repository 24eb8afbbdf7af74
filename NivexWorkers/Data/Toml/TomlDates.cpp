#include "NivexWorkers/Data/Toml/TomlDates.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>

namespace nivex::data {
namespace {

constexpr std::size_t dayLength = 10;
constexpr std::size_t timeLength = 8;

/// "09:30", whose parts stay below the given.
bool isPair(std::string_view text, std::string_view first, std::string_view second)
{
    return text.size() == 5 && text[2] == ':' && isAsciiDigit(text[0]) && isAsciiDigit(text[1]) &&
           isAsciiDigit(text[3]) && isAsciiDigit(text[4]) && text.substr(0, 2) < first && text.substr(3) < second;
}

/// The length of a time of day at the beginning, decimals of seconds included; 0 for none.
std::size_t timeAt(std::string_view text)
{
    if (text.size() < timeLength || text[5] != ':' || !isPair(text.substr(0, 5), "24", "60") ||
        !isAsciiDigit(text[6]) || !isAsciiDigit(text[7]) || text.substr(6, 2) > "60")
        return 0;
    if (text.size() == timeLength || text[timeLength] != '.')
        return timeLength;
    const auto* end = std::find_if_not(text.begin() + timeLength + 1, text.end(), isAsciiDigit);
    const auto length = static_cast<std::size_t>(end - text.begin());
    return length > timeLength + 1 ? length : 0;
}

bool isZone(std::string_view text)
{
    if (text.empty() || text == "Z" || text == "z")
        return true;
    return (text.front() == '+' || text.front() == '-') && isPair(text.substr(1), "24", "60");
}

} // namespace

std::optional<std::string> tomlDate(std::string_view text)
{
    if (const std::size_t time = timeAt(text); time > 0)
        return time == text.size() ? std::optional{std::string{text}} : std::nullopt;
    if (lookOf(text.substr(0, dayLength)) != Look::day)
        return std::nullopt;
    std::string date{text};
    if (text.size() == dayLength)
        return date;
    const char separator = text[dayLength];
    const std::string_view moment = text.substr(dayLength + 1);
    const std::size_t time = timeAt(moment);
    if ((separator != 'T' && separator != 't' && separator != ' ') || time == 0 || !isZone(moment.substr(time)))
        return std::nullopt;
    date[dayLength] = 'T';
    if (date.back() == 'z')
        date.back() = 'Z';
    return date;
}

} // namespace nivex::data
