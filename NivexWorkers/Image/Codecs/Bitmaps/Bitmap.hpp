#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace nivex::image {

/// The file that a reader of this house opens; its rows may be read long after the reader returned.
using SharedSource = std::shared_ptr<const ByteSource>;

/// What the components of a pixel mean.
enum class BitmapColors {
    grey,
    rgb,
    cmyk, // 0 is no ink
    lab,  // CIE L*a*b* of D50: L* over the whole range, a* and b* with their zero in the middle
};

/// The picture of a file that NIVEX parses itself: its layout, and a function that decodes any of its rows, so a large
/// one is never in memory as a whole. Knows no library.
struct Bitmap {
    int width = 0;
    int height = 0;
    BitmapColors colors = BitmapColors::rgb;
    bool hasAlpha = false;                  // one more component, not premultiplied
    int bits = 8;                           // of a component: 8, 16, or 32 for floating point, where 1.0 is white
    double horizontalDotsPerMillimetre = 0; // 0 where the file tells none
    double verticalDotsPerMillimetre = 0;
    std::vector<std::byte> profile; // ICC; empty for none

    /// Decodes row `y`, 0 being the uppermost, into rowBytes() bytes: pixel after pixel, components in the processor's
    /// byte order. Any thread, several at once. Throws ConversionError where the row is damaged.
    std::function<void(int y, std::span<std::byte> row)> readRow;

    int bands() const
    {
        const int components = colors == BitmapColors::grey ? 1 : colors == BitmapColors::cmyk ? 4 : 3;
        return components + (hasAlpha ? 1 : 0);
    }
    std::size_t rowBytes() const
    {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(bands() * bits / 8);
    }
};

/// One component of 16 bits in the processor's byte order.
inline void putSixteen(std::byte* to, unsigned value)
{
    const auto component = static_cast<std::uint16_t>(value);
    std::memcpy(to, &component, sizeof component);
}

/// A component of `bits` bits in `wanted` bits, by repeating its own from the highest on: black and white stay what
/// they are. Both at most 16.
constexpr std::uint32_t widened(std::uint32_t value, int bits, int wanted)
{
    if (bits >= wanted)
        return value >> (bits - wanted);
    std::uint32_t result = value << (wanted - bits);
    for (int filled = bits; filled < wanted; filled *= 2)
        result |= result >> filled;
    return result;
}

/// The bytes at `offset`, all of them or damaged().
std::vector<std::byte> readExactly(const ByteSource& file, std::uint64_t offset, std::size_t count);
void readExactly(const ByteSource& file, std::uint64_t offset, std::span<std::byte> buffer);

/// The bytes of a part of a file one after the other, through a window that moves along. What lies behind the end
/// throws damaged().
class ByteStream {
public:
    /// `window` is the most that is read at once.
    ByteStream(const ByteSource& file, std::uint64_t begin, std::uint64_t end, std::size_t window = 64 * 1024);

    std::uint64_t position() const { return windowBegin_ + next_; }
    bool isAtEnd() const { return position() >= end_; }

    std::uint8_t u8()
    {
        if (next_ == window_.size())
            advance();
        return std::to_integer<std::uint8_t>(window_[next_++]);
    }

    void read(std::span<std::byte> buffer);
    void skip(std::uint64_t count);

private:
    void advance();

    const ByteSource& file_;
    std::uint64_t windowBegin_;
    std::uint64_t end_;
    std::size_t most_;
    std::vector<std::byte> window_;
    std::size_t next_ = 0;
};

// The parsers. Each throws ConversionError: `unreadableSource` for what is malformed or incomplete, `resourceLimit` for
// a picture above the limit, before anything is allocated for its pixels.
Bitmap openBmp(const SharedSource& file, const ResourceLimits& limits);
Bitmap openPsd(const SharedSource& file, const ResourceLimits& limits);
Bitmap openTga(const SharedSource& file, const ResourceLimits& limits);

} // namespace nivex::image
