#include "NivexKit/Engines/Subtitle/SubtitleText.hpp"
#include "NivexKit/Engines/Subtitle/Subtitles.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>

namespace nivex::Subtitles {
namespace {

/// More digits than a field needs, few enough that no sum of fields overflows.
constexpr int mostDigits = 9;

/// Takes a decimal number without sign from the start of `text`.
std::optional<std::int64_t> takeNumber(std::string_view& text)
{
    std::int64_t value = 0;
    int digits = 0;
    for (; !text.empty() && isAsciiDigit(text.front()); text.remove_prefix(1)) {
        value = value * 10 + (text.front() - '0');
        if (++digits > mostDigits)
            return std::nullopt;
    }
    return digits == 0 ? std::nullopt : std::optional{value};
}

/// Takes the seconds of "hours:minutes:seconds" or "minutes:seconds" from the start of `text`. Minutes may exceed 59:
/// long media are often counted so.
std::optional<std::int64_t> takeSeconds(std::string_view& text)
{
    std::int64_t minutes = 0;
    for (int colons = 0;; ++colons, text.remove_prefix(1)) {
        const auto field = takeNumber(text);
        if (!field)
            return std::nullopt;
        if (colons == 2 || !text.starts_with(':'))
            return colons == 0 || *field > 59 ? std::nullopt : std::optional{minutes * 60 + *field};
        minutes = minutes * 60 + *field;
    }
}

/// The first three digits of a decimal fraction, as thousandths.
std::optional<std::int64_t> thousandths(std::string_view digits)
{
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isAsciiDigit))
        return std::nullopt;
    std::int64_t value = 0;
    for (std::size_t i = 0; i < 3; ++i)
        value = value * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return value;
}

/// The milliseconds of a clock spelled exactly "HH:MM:SS,mmm" or "HH:MM:SS.mmm"; none for any other spelling, valid or
/// not.
std::optional<std::int64_t> usualClock(std::string_view clock)
{
    if (clock.size() != 12 || clock[2] != ':' || clock[5] != ':' || (clock[8] != ',' && clock[8] != '.'))
        return std::nullopt;
    bool isValid = true;
    const auto digit = [&](std::size_t position) {
        isValid = isValid && isAsciiDigit(clock[position]);
        return clock[position] - '0';
    };
    const int hours = digit(0) * 10 + digit(1);
    const int minutes = digit(3) * 10 + digit(4);
    const int seconds = digit(6) * 10 + digit(7);
    const int thousandths = digit(9) * 100 + digit(10) * 10 + digit(11);
    if (!isValid || seconds > 59)
        return std::nullopt;
    return std::int64_t{(hours * 60 + minutes) * 60 + seconds} * 1000 + thousandths;
}

/// Start and end of a line spelled exactly "HH:MM:SS,mmm --> HH:MM:SS,mmm", as nearly all are.
std::optional<std::pair<std::int64_t, std::int64_t>> usualTiming(std::string_view line)
{
    if (line.size() != 29 || line.substr(12, 5) != " --> ")
        return std::nullopt;
    const auto start = usualClock(line.substr(0, 12));
    const auto end = usualClock(line.substr(17));
    return start && end ? std::optional{std::pair{*start, *end}} : std::nullopt;
}

/// Writes the last `count` digits of `value` and returns the position behind them.
char* putDigits(char* out, std::int64_t value, int count)
{
    for (int i = count - 1; i >= 0; --i, value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
    return out + count;
}

} // namespace

std::optional<std::int64_t> parseClock(std::string_view clock)
{
    const bool negative = clock.starts_with('-');
    if (negative)
        clock.remove_prefix(1);
    const auto seconds = takeSeconds(clock);
    if (!seconds || !(clock.starts_with('.') || clock.starts_with(',')))
        return std::nullopt;
    const auto fraction = thousandths(clock.substr(1));
    if (!fraction)
        return std::nullopt;
    const std::int64_t milliseconds = *seconds * 1000 + *fraction;
    return negative ? -milliseconds : milliseconds;
}

std::optional<std::pair<std::int64_t, std::int64_t>> parseTiming(std::string_view line)
{
    if (const auto timing = usualTiming(line))
        return timing;
    const std::size_t at = line.find(arrow);
    if (at == std::string_view::npos || line.find(arrow, at + arrow.size()) != std::string_view::npos)
        return std::nullopt;
    const std::string_view right = trimmed(line.substr(at + arrow.size()));
    const auto start = parseClock(trimmed(line.substr(0, at)));
    const auto end = parseClock(right.substr(0, right.find_first_of(" \t\n\r\f\v")));
    if (!start || !end)
        return std::nullopt;
    return std::pair{*start, *end};
}

std::string clock(std::int64_t milliseconds, char separator)
{
    const std::int64_t shown = std::max<std::int64_t>(milliseconds, 0);
    const std::int64_t hours = shown / 3'600'000;
    char text[32];
    char* end = hours < 100 ? putDigits(text, hours, 2) : std::to_chars(text, text + sizeof text, hours).ptr;
    *end++ = ':';
    end = putDigits(end, shown / 60'000 % 60, 2);
    *end++ = ':';
    end = putDigits(end, shown / 1000 % 60, 2);
    *end++ = separator;
    end = putDigits(end, shown % 1000, 3);
    return {text, end};
}

} // namespace nivex::Subtitles
