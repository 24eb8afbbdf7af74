#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstdint>
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

/// The ranges that recipes, preferences and the command line hold their settings to.
namespace optionRanges {
// clang-format off
inline constexpr OptionRange<double>       quality{0, 1, "Qualité invalide."_fr};
inline constexpr OptionRange<std::int64_t> maxPixelDimension{16, 16'384, "La taille doit être comprise entre 16 et 16 384 px."_fr};
inline constexpr OptionRange<double>       renderDPI{36, 600, "La résolution doit être comprise entre 36 et 600 ppp."_fr};
inline constexpr OptionRange<std::int64_t> maxFileBytes{10'000, 1'000'000'000, "Le poids cible doit être compris entre 10 Ko et 1 Go."_fr};
inline constexpr OptionRange<std::int64_t> audioBitRate{32'000, 320'000, "Le débit AAC doit être compris entre 32 et 320 kbit/s."_fr};
// clang-format on
} // namespace optionRanges

/// What to tell a person of the first setting that lies outside its range; none when all are inside.
std::optional<Text> rangeViolation(const ConversionOptions& options);

} // namespace nivex
