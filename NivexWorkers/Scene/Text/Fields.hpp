#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace nivex::scene {

/// The words of a line, which blanks separate, one after another.
class Fields {
public:
    explicit Fields(std::string_view line) : at_{line.data()}, end_{line.data() + line.size()} { skipBlanks(); }

    bool isAtEnd() const { return at_ == end_; }

    /// The next word; empty at the end.
    std::string_view word()
    {
        const char* begin = at_;
        while (at_ != end_ && !isBlank(*at_))
            ++at_;
        const std::string_view word{begin, static_cast<std::size_t>(at_ - begin)};
        skipBlanks();
        return word;
    }

    /// What is left, without blanks at its end.
    std::string_view rest() const
    {
        const char* end = end_;
        while (end != at_ && isBlank(end[-1]))
            --end;
        return {at_, static_cast<std::size_t>(end - at_)};
    }

    /// Takes a number in decimal or exponent notation that fills the next word; false, taking nothing, where there is
    /// none. What is too large or too small for the type is infinite or zero.
    template <class Number>
    bool number(Number& value)
    {
        if constexpr (std::is_same_v<Number, float>)
            if (plainDecimal(value))
                return true;
        const char* begin = at_ != end_ && *at_ == '+' ? at_ + 1 : at_;
        const auto [stop, failure] = std::from_chars(begin, end_, value);
        if (failure == std::errc::invalid_argument || (stop != end_ && !isBlank(*stop)))
            return false;
        if (failure != std::errc{})
            value = outOfRange<Number>({begin, static_cast<std::size_t>(stop - begin)});
        at_ = stop;
        skipBlanks();
        return true;
    }

    /// As many numbers as there are, up to `most`; how many.
    template <class Number>
    int numbers(Number* values, int most)
    {
        int count = 0;
        while (count < most && number(values[count]))
            ++count;
        return count;
    }

private:
    /// Takes a number that few digits make, as nearly all in models are. Its digits and the power of ten that divides
    /// them are both exact, so that one division rounds as it should.
    bool plainDecimal(float& value)
    {
        constexpr std::uint32_t mostExact = 1U << 24;
        constexpr float powers[] = {1, 1e1F, 1e2F, 1e3F, 1e4F, 1e5F, 1e6F, 1e7F, 1e8F, 1e9F, 1e10F};
        const char* at = at_;
        const bool isNegative = at != end_ && *at == '-';
        at += isNegative ? 1 : 0;
        std::uint32_t digits = 0;
        int count = 0;
        const auto take = [&] {
            for (; at != end_ && *at >= '0' && *at <= '9' && count < 9; ++at, ++count)
                digits = 10 * digits + static_cast<std::uint32_t>(*at - '0');
        };
        take();
        const int whole = count;
        if (whole == 0)
            return false;
        if (at != end_ && *at == '.') {
            ++at;
            take();
        }
        if (digits > mostExact || (at != end_ && !isBlank(*at)))
            return false;
        value = static_cast<float>(digits) / powers[count - whole];
        if (isNegative)
            value = -value;
        at_ = at;
        skipBlanks();
        return true;
    }

    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

    template <class Number>
    static Number outOfRange(std::string_view text)
    {
        if constexpr (std::numeric_limits<Number>::has_infinity)
            // What rounds to nothing has a negative exponent; everything else is beyond the largest.
            return text.find("e-") != text.npos || text.find("E-") != text.npos
                       ? Number{0}
                       : std::numeric_limits<Number>::infinity();
        else
            return text.starts_with('-') ? std::numeric_limits<Number>::min() : std::numeric_limits<Number>::max();
    }

    void skipBlanks()
    {
        while (at_ != end_ && isBlank(*at_))
            ++at_;
    }

    const char* at_;
    const char* end_;
};

} // namespace nivex::scene
