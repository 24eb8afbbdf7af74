#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nivex::image {

/// What a JPEG 2000 file (ISO/IEC 15444-1) says around and at the head of its codestream.
struct Jpeg2000File {
    enum class ColorSpace { unknown, sRGB, grey, sYCC, cmyk, profile };

    /// A channel of the picture: a component of the codestream, or a column of the palette that it chooses from.
    struct Channel {
        std::uint16_t component = 0;
        std::optional<std::uint8_t> paletteColumn;
        enum class Kind { color, alpha, premultipliedAlpha, other } kind = Kind::color;
    };

    struct Component {
        int bits = 8;
        bool isSigned = false;
        int stepX = 1; // one sample for so many columns of the reference grid
        int stepY = 1;
    };

    struct Palette {
        std::vector<int> bits;             // of each column
        std::vector<std::uint16_t> values; // row after row
        std::size_t rows = 0;
    };

    std::uint64_t codestreamBegin = 0;
    std::uint64_t codestreamEnd = 0;

    // SIZ: the picture is what lies between origin and end of the reference grid.
    std::int64_t originX = 0, originY = 0, endX = 0, endY = 0;
    std::int64_t tilesAcross = 1, tilesDown = 1;
    std::vector<Component> components;
    int resolutionLevels = 0; // how often the picture can be halved while it is decoded

    ColorSpace colorSpace = ColorSpace::unknown;
    bool hasForeignColors = false; // named, but none of these
    std::string profile;           // ICC
    Palette palette;
    std::vector<Channel> channels; // in the order of the colours, then the others
    double pixelsPerMetreX = 0;    // 0 where unknown
    double pixelsPerMetreY = 0;

    int stepX() const;
    int stepY() const;
    std::int64_t width() const;
    std::int64_t height() const;
};

/// Reads the boxes, or finds a bare codestream, and walks over the codestream's tile-parts: one that was cut short, or
/// that announces what no picture holds, is refused here, before a decoder allocates for it.
/// Throws ConversionError::unreadableSource.
Jpeg2000File readJpeg2000File(const ByteSource& source);

/// The bytes of a JP2 file in front of its codestream of `codestreamBytes`, which ends the file.
struct Jpeg2000Head {
    std::uint32_t width;
    std::uint32_t height;
    std::uint16_t components; // 1 to 4, the last one alpha where there are two or four
    int bits;
    std::string_view profile;   // ICC; empty for sRGB and its grey
    double pixelsPerMetreX = 0; // 0 where unknown
    double pixelsPerMetreY = 0;
};
std::string jpeg2000Head(const Jpeg2000Head& head, std::uint64_t codestreamBytes);

} // namespace nivex::image
