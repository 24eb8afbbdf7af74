#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// A set of things that a conversion may lose, one bit each. The values are persisted.
class ConversionLoss {
public:
    static const ConversionLoss compression, metadata, colorDepth, transparency, animation, pages, layers,
        rasterization, resolution, rawDevelopment, colorPalette, formatting, layout, videoTrack, duration, structure,
        recognition, audioTrack, materials, rigging, channels, formulas, timing, outlinedText, preview;

    /// The losses that a person would not expect and must be told of first.
    static const ConversionLoss major;

    /// How much of a video an animated GIF keeps, in seconds.
    static constexpr int gifMaximumSeconds = 10;

    constexpr ConversionLoss() = default;
    constexpr explicit ConversionLoss(std::uint32_t rawValue) : rawValue_{rawValue} {}

    constexpr std::uint32_t rawValue() const { return rawValue_; }
    constexpr bool isEmpty() const { return rawValue_ == 0; }
    constexpr bool contains(ConversionLoss other) const { return (rawValue_ & other.rawValue_) == other.rawValue_; }
    constexpr bool intersects(ConversionLoss other) const { return (rawValue_ & other.rawValue_) != 0; }
    constexpr ConversionLoss without(ConversionLoss other) const
    {
        return ConversionLoss{rawValue_ & ~other.rawValue_};
    }
    ConversionLoss majorPart() const;

    /// One French sentence per member, in the fixed order in which they are shown.
    std::vector<std::string> warnings() const;
    /// The names of the members, in the same order.
    std::vector<std::string_view> names() const;

    friend constexpr ConversionLoss operator|(ConversionLoss a, ConversionLoss b)
    {
        return ConversionLoss{a.rawValue_ | b.rawValue_};
    }
    constexpr ConversionLoss& operator|=(ConversionLoss other)
    {
        rawValue_ |= other.rawValue_;
        return *this;
    }
    constexpr bool operator==(const ConversionLoss&) const = default;

private:
    std::uint32_t rawValue_ = 0;
};

inline constexpr ConversionLoss ConversionLoss::compression{0x1};
inline constexpr ConversionLoss ConversionLoss::metadata{0x2};
inline constexpr ConversionLoss ConversionLoss::colorDepth{0x4};
inline constexpr ConversionLoss ConversionLoss::transparency{0x8};
inline constexpr ConversionLoss ConversionLoss::animation{0x10};
inline constexpr ConversionLoss ConversionLoss::pages{0x20};
inline constexpr ConversionLoss ConversionLoss::layers{0x40};
inline constexpr ConversionLoss ConversionLoss::rasterization{0x80};
inline constexpr ConversionLoss ConversionLoss::resolution{0x100};
inline constexpr ConversionLoss ConversionLoss::rawDevelopment{0x200};
inline constexpr ConversionLoss ConversionLoss::colorPalette{0x400};
inline constexpr ConversionLoss ConversionLoss::formatting{0x800};
inline constexpr ConversionLoss ConversionLoss::layout{0x1000};
inline constexpr ConversionLoss ConversionLoss::videoTrack{0x2000};
inline constexpr ConversionLoss ConversionLoss::duration{0x4000};
inline constexpr ConversionLoss ConversionLoss::structure{0x8000};
inline constexpr ConversionLoss ConversionLoss::recognition{0x10000};
inline constexpr ConversionLoss ConversionLoss::audioTrack{0x20000};
inline constexpr ConversionLoss ConversionLoss::materials{0x40000};
inline constexpr ConversionLoss ConversionLoss::rigging{0x80000};
inline constexpr ConversionLoss ConversionLoss::channels{0x100000};
inline constexpr ConversionLoss ConversionLoss::formulas{0x200000};
inline constexpr ConversionLoss ConversionLoss::timing{0x400000};
inline constexpr ConversionLoss ConversionLoss::outlinedText{0x800000};
inline constexpr ConversionLoss ConversionLoss::preview{0x1000000};
inline constexpr ConversionLoss ConversionLoss::major{0x10E61F8};

inline ConversionLoss ConversionLoss::majorPart() const { return ConversionLoss{rawValue_ & major.rawValue_}; }

} // namespace nivex
