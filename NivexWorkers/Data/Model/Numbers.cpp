#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace nivex::data {
namespace {

std::size_t digitsFrom(std::string_view text, std::size_t at)
{
    std::size_t end = at;
    while (end < text.size() && isAsciiDigit(text[end]))
        ++end;
    return end - at;
}

/// The digits without sign, point and exponent, and without zeros at either end.
std::string significantDigits(std::string_view number)
{
    std::string digits;
    for (const char each : number.substr(0, number.find_first_of("eE")))
        if (isAsciiDigit(each) && (each != '0' || !digits.empty()))
            digits += each;
    digits.resize(digits.find_last_not_of('0') + 1);
    return digits;
}

bool isDay(std::string_view text)
{
    const auto number = [text](std::size_t at, std::size_t count) {
        int value = 0;
        std::from_chars(text.data() + at, text.data() + at + count, value);
        return value;
    };
    if (text.size() < 10 || text[4] != '-' || text[7] != '-' || digitsFrom(text, 0) != 4 || digitsFrom(text, 5) != 2 ||
        digitsFrom(text, 8) != 2)
        return false;
    constexpr std::array<int, 12> lengths{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month >= 1 && month <= 12 && day >= 1 && day <= lengths[static_cast<std::size_t>(month) - 1] &&
           (month != 2 || day < 29 || isLeap);
}

bool isMoment(std::string_view text)
{
    return text.size() == 19 && text[10] == ' ' && text[13] == ':' && text[16] == ':' && digitsFrom(text, 11) == 2 &&
           digitsFrom(text, 14) == 2 && digitsFrom(text, 17) == 2 && text.substr(11, 2) < "24" &&
           text.substr(14, 2) < "60" && text.substr(17, 2) < "60";
}

/// A number with `point` before its decimals.
bool isNumber(std::string_view text, char point)
{
    std::size_t at = text.starts_with('-') ? 1 : 0;
    const std::size_t whole = digitsFrom(text, at);
    if (whole == 0 || (whole > 1 && text[at] == '0'))
        return false;
    at += whole;
    if (at < text.size() && text[at] == point) {
        const std::size_t decimals = digitsFrom(text, at + 1);
        if (decimals == 0)
            return false;
        at += 1 + decimals;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const std::size_t exponent = digitsFrom(text, at);
        if (exponent == 0)
            return false;
        at += exponent;
    }
    return at == text.size();
}

/// Digits, perhaps grouped or with decimals, that a number would not begin with: "007", "+33 6 12", "-01".
bool isNoQuantity(std::string_view text)
{
    const bool hasPlus = text.front() == '+';
    const std::size_t at = hasPlus || text.front() == '-' ? 1 : 0;
    const std::size_t whole = digitsFrom(text, at);
    if (whole == 0 || (!hasPlus && (text[at] != '0' || whole == 1)))
        return false;
    return text.find_first_not_of("0123456789 ./()-", at) == text.npos;
}

Look lookOfDigits(std::string_view text)
{
    if (isNumber(text, '.'))
        return Look::number;
    if (isDay(text) && (text.size() == 10 || isMoment(text)))
        return text.size() == 10 ? Look::day : Look::moment;
    if (isNoQuantity(text))
        return Look::digits;
    return isNumber(text, ',') ? Look::decimalComma : Look::text;
}

} // namespace

Look lookOf(std::string_view text)
{
    if (text.empty())
        return Look::empty;
    const char first = text.front();
    if (isAsciiDigit(first) || first == '-' || first == '+')
        return lookOfDigits(text);
    const bool isBoolean = text == "true" || text == "false" || text == "TRUE" || text == "FALSE";
    return isBoolean ? Look::boolean : Look::text;
}

bool isJsonNumber(std::string_view text) { return isNumber(text, '.'); }

bool fitsSpreadsheetNumber(std::string_view number)
{
    constexpr std::size_t alwaysHeld = 15;  // decimal digits
    constexpr std::size_t shortNumber = 16; // no exponent of so few characters leaves the range of a double
    if (number.size() < shortNumber && number.find_first_of("eE") == number.npos)
        return true;
    double value = 0;
    const auto [end, failure] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (failure != std::errc{} || end != number.data() + number.size() || !std::isfinite(value))
        return false;
    const std::string digits = significantDigits(number);
    if (digits.size() <= alwaysHeld)
        return value != 0 || digits.empty();
    if (number.find_first_of(".eE") == number.npos)
        return false;
    std::array<char, 64> shortest{};
    const auto written = std::to_chars(shortest.data(), shortest.data() + shortest.size(), value);
    return significantDigits({shortest.data(), written.ptr}) == digits;
}

std::optional<std::string> shortestNumber(double value)
{
    if (!std::isfinite(value))
        return std::nullopt;
    std::array<char, 64> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string{text.data(), written.ptr};
}

} // namespace nivex::data
