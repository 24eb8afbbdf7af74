#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace nivex {

/// What a format can hold or is, one bit each. The values are persisted.
enum class FormatTrait : std::uint32_t {
    lossy = 1,
    lossless = 2,
    transparency = 4,
    animation = 8,
    multiPage = 16,
    vector = 32,
    layers = 64,
    raw = 128,                   // camera raw, which must be developed
    highDynamicRange = 256,      // more than 8 bits per component, or floating point
    container = 512,             // the file is a container of entries
    text = 1024,                 // the file is text
    proprietary = 2048,          // closed format of one vendor
    executable = 4096,           // a program, installer or library
    bundle = 8192,               // a folder shown as one file
    contentDetectedOnly = 16384, // the extension alone never selects it
};

/// A set of traits.
struct FormatTraits {
    std::uint32_t bits = 0;

    constexpr FormatTraits() = default;
    constexpr FormatTraits(FormatTrait trait) : bits{static_cast<std::uint32_t>(trait)} {}

    constexpr bool has(FormatTrait trait) const { return (bits & static_cast<std::uint32_t>(trait)) != 0; }

    /// The names of the traits in the set ("lossless"), in the order of their values.
    std::vector<std::string_view> names() const;

    friend constexpr FormatTraits operator|(FormatTraits a, FormatTraits b)
    {
        FormatTraits both;
        both.bits = a.bits | b.bits;
        return both;
    }

    bool operator==(const FormatTraits&) const = default;
};

constexpr FormatTraits operator|(FormatTrait a, FormatTrait b) { return FormatTraits{a} | FormatTraits{b}; }

} // namespace nivex
