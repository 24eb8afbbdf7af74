#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <optional>

namespace nivex {

/// The values that a setting accepts, both ends included, and what a person reads when one lies outside.
template <class Number>
struct OptionRange {
    Number lowest;
    Number highest;
    Text whenOutside;

    /// False for a value that is not a number.
    constexpr bool contains(Number value) const { return value >= lowest && value <= highest; }
};

/// What to tell a person of the first setting that lies outside its range; none when all are inside.
std::optional<Text> rangeViolation(const ConversionOptions& options);

} // namespace nivex
