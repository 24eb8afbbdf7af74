#pragma once

#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace nivex::image {

using Bytes = std::vector<std::byte>;

/// A file that owns its bytes.
class BytesSource final : public ByteSource {
public:
    explicit BytesSource(Bytes bytes) : bytes_{std::move(bytes)}, source_{bytes_} {}
    std::uint64_t size() const override { return bytes_.size(); }
    using ByteSource::read;
    std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const override
    {
        return source_.read(offset, buffer);
    }

private:
    Bytes bytes_;
    MemorySource source_;
};

inline SharedSource sourceOf(Bytes bytes) { return std::make_shared<BytesSource>(std::move(bytes)); }

/// A bitmap in words: size, components, and the pixels in hexadecimal, "/" between rows.
inline std::string described(const Bitmap& bitmap)
{
    constexpr std::array names{"grey", "rgb", "cmyk", "lab"};
    std::string text = std::to_string(bitmap.width) + "x" + std::to_string(bitmap.height) + " " +
                       names[static_cast<std::size_t>(bitmap.colors)] + (bitmap.hasAlpha ? "a" : "") +
                       (bitmap.bits == 8 ? "" : std::to_string(bitmap.bits)) + ":";
    const std::size_t pixelBytes = static_cast<std::size_t>(bitmap.bands() * bitmap.bits / 8);
    std::vector<std::byte> row(bitmap.rowBytes());
    for (int y = 0; y < bitmap.height; ++y) {
        bitmap.readRow(y, row);
        text += y > 0 ? " /" : "";
        for (std::size_t i = 0; i < row.size(); ++i) {
            char digits[4];
            std::snprintf(digits, sizeof digits, "%s%02X", i % pixelBytes == 0 ? " " : "",
                          std::to_integer<unsigned>(row[i]));
            text += digits;
        }
    }
    return text;
}

/// What becomes of a file: the bitmap in words, or the kind of failure.
template <typename Opener>
std::string outcome(Opener open, Bytes file)
{
    try {
        return described(open(sourceOf(std::move(file)), ResourceLimits{}));
    } catch (const ConversionError& error) {
        if (error == damaged({}))
            return "damaged";
        return error.kind() == ConversionError::Kind::resourceLimit ? "too large" : "refused";
    }
}

struct BitmapCase {
    std::string name;
    Bytes file;
    std::string expected;
};

} // namespace nivex::image
