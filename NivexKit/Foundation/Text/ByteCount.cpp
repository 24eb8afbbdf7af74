#include "NivexKit/Foundation/Text/ByteCount.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {
namespace {

struct Unit {
    std::int64_t bytes;
    Text pattern;
};

// The largest unit that the number fills stands first.
// clang-format off
constexpr Unit units[] = {
    {1'000'000'000'000, "{} To"_fr},
    {1'000'000'000,     "{} Go"_fr},
    {1'000'000,         "{} Mo"_fr},
    {1'000,             "{} ko"_fr},
};
// clang-format on

/// `bytes` in tenths of a unit, rounded half up.
std::int64_t tenths(std::int64_t bytes, std::int64_t unit)
{
    return bytes / unit * 10 + (bytes % unit * 10 + unit / 2) / unit;
}

} // namespace

std::string shownByteCount(std::int64_t bytes)
{
    for (const Unit& unit : units) {
        // What rounds up to 1000 of the smaller unit is shown as 1 of the larger.
        if (bytes < unit.bytes - unit.bytes / 20'000)
            continue;
        const std::int64_t count = tenths(bytes, unit.bytes);
        const std::string whole = std::to_string(count / 10);
        return filled(unit.pattern,
                      {count % 10 == 0 ? whole : filled("{},{}"_fr, {whole, std::to_string(count % 10)})});
    }
    return filled("{} o"_fr, {std::to_string(bytes)});
}

} // namespace nivex
