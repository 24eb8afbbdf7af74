#include "NivexWorkers/Data/Model/Dates.hpp"

#include <charconv>
#include <chrono>
#include <cmath>

namespace nivex::data {
namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::int64_t dayInMilliseconds = 86'400'000;
constexpr sys_days first1904{std::chrono::year{1904} / 1 / 1};
constexpr sys_days before1900{std::chrono::year{1899} / 12 / 30}; // day 0, as it comes out from March 1900 on
constexpr std::int64_t dayThatWasNot = 60;
constexpr double lastDay = 2'958'465; // 31 December 9999

void appendNumber(std::string& text, std::int64_t number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    text.append(width - std::min(width, digits.size()), '0').append(digits);
}

void appendTime(std::string& text, std::int64_t milliseconds)
{
    appendNumber(text, milliseconds / 3'600'000, 2);
    text += ':';
    appendNumber(text, milliseconds / 60'000 % 60, 2);
    text += ':';
    appendNumber(text, milliseconds / 1'000 % 60, 2);
    if (milliseconds % 1'000 != 0) {
        text += '.';
        appendNumber(text, milliseconds % 1'000, 3);
    }
}

/// Reads fixed-width numbers and what stands between them.
class Parts {
public:
    explicit Parts(std::string_view text) : text_{text} {}

    int number(std::size_t width)
    {
        int value = -1;
        const auto* end = text_.data() + std::min(width, text_.size());
        if (text_.size() < width || std::from_chars(text_.data(), end, value).ptr != end || text_.front() == '-')
            isSound_ = false;
        text_.remove_prefix(std::min(width, text_.size()));
        return value;
    }
    void expect(char character)
    {
        if (!text_.starts_with(character))
            isSound_ = false;
        else
            text_.remove_prefix(1);
    }
    /// The decimals behind a point, as a fraction.
    double decimals()
    {
        double value = 0;
        if (!text_.starts_with('.'))
            return value;
        const auto [end, failure] = std::from_chars(text_.data(), text_.data() + text_.size(), value);
        if (failure != std::errc{})
            isSound_ = false;
        text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
        return value;
    }

    std::string_view rest() const { return text_; }
    bool isSound() const { return isSound_; }

private:
    std::string_view text_;
    bool isSound_ = true;
};

/// As a part of a day.
std::optional<double> timeOf(std::string_view text)
{
    Parts parts{text};
    const int hours = parts.number(2);
    parts.expect(':');
    const int minutes = parts.number(2);
    parts.expect(':');
    const double seconds = parts.number(2) + parts.decimals();
    if (!parts.isSound() || !parts.rest().empty() || hours > 23 || minutes > 59 || seconds >= 60)
        return std::nullopt;
    return (hours * 3'600 + minutes * 60 + seconds) / 86'400;
}

} // namespace

std::optional<std::string> dateOfDays(double days, DayCount count, bool hasDay, bool hasTime)
{
    if (!(days >= 0 && days < lastDay + 1))
        return std::nullopt;
    const auto milliseconds = static_cast<std::int64_t>(std::llround(days * static_cast<double>(dayInMilliseconds)));
    const std::int64_t day = milliseconds / dayInMilliseconds;
    const std::int64_t time = milliseconds % dayInMilliseconds;
    std::string text;
    if (!hasDay && day == 0) {
        appendTime(text, time);
        return text;
    }
    if (count == DayCount::from1900 && day == dayThatWasNot) {
        text = "1900-02-29"; // what spreadsheets show for it
    } else {
        const std::int64_t shift = count == DayCount::from1900 && day < dayThatWasNot ? 1 : 0;
        const sys_days first = count == DayCount::from1900 ? before1900 : first1904;
        const year_month_day date{first + std::chrono::days{day + shift}};
        appendNumber(text, int{date.year()}, 4);
        text += '-';
        appendNumber(text, unsigned{date.month()}, 2);
        text += '-';
        appendNumber(text, unsigned{date.day()}, 2);
    }
    if (hasTime || time != 0) {
        text += 'T';
        appendTime(text, time);
    }
    return text;
}

std::string durationOfDays(double days)
{
    std::string text = days < 0 ? "-" : "";
    appendTime(text, std::llround(std::abs(days) * 86'400) * 1'000);
    return text;
}

std::optional<CountedDate> countedDate(std::string_view text)
{
    if (text.size() >= 8 && text[2] == ':') {
        if (const auto time = timeOf(text))
            return CountedDate{*time, DateParts::time};
        return std::nullopt;
    }
    Parts parts{text};
    const std::chrono::year year{parts.number(4)};
    parts.expect('-');
    const auto month = static_cast<unsigned>(parts.number(2));
    parts.expect('-');
    const auto day = static_cast<unsigned>(parts.number(2));
    const year_month_day date{year / std::chrono::month{month} / std::chrono::day{day}};
    if (!parts.isSound() || !date.ok())
        return std::nullopt;
    const auto days = static_cast<double>((sys_days{date} - before1900).count());
    if (days <= dayThatWasNot || days > lastDay)
        return std::nullopt;
    if (parts.rest().empty())
        return CountedDate{days, DateParts::day};
    if (parts.rest().front() != 'T' && parts.rest().front() != ' ')
        return std::nullopt;
    if (const auto time = timeOf(parts.rest().substr(1)))
        return CountedDate{days + *time, DateParts::moment};
    return std::nullopt;
}

} // namespace nivex::data
