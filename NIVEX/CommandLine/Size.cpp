#include "NIVEX/CommandLine/Size.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace nivex::commandline {
namespace {

struct UnitRow {
    std::string_view name;
    double bytes;
};

// clang-format off
constexpr UnitRow units[] = {
    {"",   1},
    {"b",  1},
    {"kb", 1e3}, {"ko", 1e3},
    {"mb", 1e6}, {"mo", 1e6},
    {"gb", 1e9}, {"go", 1e9},
};
// clang-format on

} // namespace

std::optional<std::int64_t> parseSize(std::string_view text)
{
    std::string decimal{text};
    std::ranges::replace(decimal, ',', '.');
    double number = 0;
    const auto [end, failure] =
        std::from_chars(decimal.data(), decimal.data() + decimal.size(), number, std::chars_format::fixed);
    if (failure != std::errc{} || !(number >= 0))
        return std::nullopt;
    const std::string unit = lowercased(decimal.substr(static_cast<std::size_t>(end - decimal.data())));
    for (const UnitRow& row : units) {
        if (unit != row.name)
            continue;
        const double bytes = std::floor(number * row.bytes);
        if (bytes >= 9e18)
            return std::nullopt;
        return static_cast<std::int64_t>(bytes);
    }
    return std::nullopt;
}

} // namespace nivex::commandline
