#include "NivexWorkers/Image/Codecs/Tiff/TiffLayouts.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/LibraryErrors.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr unsigned mostBands = 16;
constexpr tmsize_t mostBytesAtOnce = 256 << 20;

ConversionError unsupportedTiff()
{
    return ConversionError::unsupported("la façon dont ce fichier TIFF enregistre ses pixels"_fr);
}

template <class Number>
Number number(TIFF* tiff, std::uint32_t tag)
{
    Number value{};
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

/// How the current directory stores its pixels (TIFF 6.0).
struct Layout {
    explicit Layout(TIFF* tiff)
        : width{number<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH)}, height{number<std::uint32_t>(tiff,
                                                                                               TIFFTAG_IMAGELENGTH)},
          bands{number<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL)}, bits{number<std::uint16_t>(
                                                                           tiff, TIFFTAG_BITSPERSAMPLE)},
          colors{number<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC)}, compression{number<std::uint16_t>(
                                                                        tiff, TIFFTAG_COMPRESSION)},
          isFloating{number<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_IEEEFP},
          isWhole{number<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_UINT},
          isPlanar{number<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && bands > 1},
          isTiled{TIFFIsTiled(tiff) != 0}
    {
    }

    bool isPlanesOfTiles() const
    {
        return isPlanar && isTiled && (isWhole ? bits == 8 || bits == 16 : isFloating && bits == 32);
    }
    /// Whole numbers that are no bytes; of grey alone libvips knows the narrow ones.
    bool isPackedBits() const
    {
        const bool isNarrowGrey = bands == 1 && (bits == 1 || bits == 2 || bits == 4);
        return isWhole && !isTiled && bits < 16 && bits != 8 && bits > 0 && !isNarrowGrey;
    }
    bool isHalfFloats() const { return isFloating && !isTiled && bits == 16; }
    bool isDeep() const { return bits > 8; }
    /// Brightness and colour differences that no JPEG stream holds, or one of TIFF 6.0's first idea of them.
    bool isColorDifferences() const
    {
        return compression == COMPRESSION_OJPEG ||
               (colors == PHOTOMETRIC_YCBCR && compression != COMPRESSION_JPEG && bits == 8);
    }
    /// JPEG streams of 12 bits, or lossless ones, which no library here decodes.
    bool isStrangeJpeg() const { return compression == COMPRESSION_JPEG && bits != 8; }

    std::uint32_t width;
    std::uint32_t height;
    unsigned bands;
    unsigned bits;
    unsigned colors;
    unsigned compression;
    bool isFloating;
    bool isWhole;
    bool isPlanar;
    bool isTiled;
};

void readPlanesOfTiles(TIFF* tiff, const Layout& layout, PixelBuffer& pixels)
{
    const std::size_t side = number<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH);
    const std::size_t length = number<std::uint32_t>(tiff, TIFFTAG_TILELENGTH);
    const std::size_t sampleBytes = layout.bits / 8;
    const tmsize_t tileBytes = TIFFTileSize(tiff);
    if (side == 0 || length == 0 || tileBytes <= 0 || tileBytes > mostBytesAtOnce ||
        static_cast<std::size_t>(tileBytes) / sampleBytes / side < length)
        throw damaged("TileWidth, TileLength: no such tiles");
    std::vector<std::byte> tile(static_cast<std::size_t>(tileBytes));
    for (unsigned band = 0; band < layout.bands; ++band)
        for (std::size_t top = 0; top < layout.height; top += length)
            for (std::size_t left = 0; left < layout.width; left += side) {
                if (TIFFReadTile(tiff, tile.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top),
                                 0, static_cast<std::uint16_t>(band)) < 0)
                    throw damaged("tile at " + std::to_string(left) + ", " + std::to_string(top) + ": " +
                                  errorsBehind());
                const std::size_t rows = std::min(length, layout.height - top);
                const std::size_t columns = std::min(side, layout.width - left);
                for (std::size_t y = 0; y < rows; ++y) {
                    const std::byte* from = tile.data() + y * side * sampleBytes;
                    std::byte* to =
                        pixels.row(static_cast<std::int64_t>(top + y)) + (left * layout.bands + band) * sampleBytes;
                    for (std::size_t x = 0; x < columns; ++x)
                        std::memcpy(to + x * layout.bands * sampleBytes, from + x * sampleBytes, sampleBytes);
                }
            }
}

/// Turns the rows of strips into those of the picture; `spread` does it for one row of `count` components.
template <class Spread>
void readRows(TIFF* tiff, const Layout& layout, PixelBuffer& pixels, Spread spread)
{
    const unsigned planes = layout.isPlanar ? layout.bands : 1;
    const std::size_t step = layout.isPlanar ? layout.bands : 1;
    const std::size_t count = layout.isPlanar ? layout.width : std::size_t{layout.width} * layout.bands;
    const tmsize_t rowBytes = TIFFScanlineSize(tiff);
    if (rowBytes <= 0 || rowBytes > mostBytesAtOnce ||
        static_cast<std::size_t>(rowBytes) < (count * layout.bits + 7) / 8)
        throw damaged("ImageWidth, BitsPerSample: rows too long");
    std::vector<std::uint8_t> stored(static_cast<std::size_t>(rowBytes));
    for (unsigned plane = 0; plane < planes; ++plane)
        for (std::uint32_t y = 0; y < layout.height; ++y) {
            if (TIFFReadScanline(tiff, stored.data(), y, static_cast<std::uint16_t>(plane)) < 0)
                throw damaged("row " + std::to_string(y) + ": " + errorsBehind());
            for (std::size_t i = 0; i < count; ++i)
                spread(stored, i, pixels.row(y), i * step + plane);
        }
}

/// Components side by side, the higher bits first; they are spread over 8 or 16 bits.
void readPackedBits(TIFF* tiff, const Layout& layout, PixelBuffer& pixels)
{
    const unsigned most = (1U << layout.bits) - 1;
    const auto valueAt = [&](const std::vector<std::uint8_t>& row, std::size_t number) {
        unsigned value = 0;
        for (std::size_t bit = number * layout.bits; bit < (number + 1) * layout.bits; ++bit)
            value = value << 1U | (unsigned{row[bit / 8]} >> (7 - bit % 8) & 1U);
        return value;
    };
    if (layout.isDeep())
        readRows(tiff, layout, pixels, [&](const auto& row, std::size_t i, std::byte* to, std::size_t place) {
            const std::uint64_t value = valueAt(row, i);
            reinterpret_cast<std::uint16_t*>(to)[place] =
                static_cast<std::uint16_t>((value * 65'535 + most / 2) / most);
        });
    else
        readRows(tiff, layout, pixels, [&](const auto& row, std::size_t i, std::byte* to, std::size_t place) {
            reinterpret_cast<std::uint8_t*>(to)[place] =
                static_cast<std::uint8_t>((valueAt(row, i) * 255 + most / 2) / most);
        });
}

/// libtiff makes up what a cut JPEG stream lacks, so the places of all strips and tiles are looked at first.
void requireWhole(TIFF* tiff)
{
    const std::uint64_t fileBytes = TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
    const std::uint32_t count = TIFFIsTiled(tiff) != 0 ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t offset = TIFFGetStrileOffset(tiff, i);
        if (offset > fileBytes || TIFFGetStrileByteCount(tiff, i) > fileBytes - offset)
            throw damaged("strip or tile " + std::to_string(i) + ": behind the end of the file");
    }
}

/// What libtiff makes red, green and blue itself, without alpha.
VImage readColorDifferences(TIFF* tiff, const Layout& layout)
{
    char reason[1024] = "";
    if (TIFFRGBAImageOK(tiff, reason) == 0)
        throw unsupportedTiff();
    requireWhole(tiff);
    PixelBuffer pixels{layout.width, layout.height, 4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB};
    constexpr int stopOnError = 1;
    const int asStored = number<std::uint16_t>(tiff, TIFFTAG_ORIENTATION);
    if (TIFFReadRGBAImageOriented(tiff, layout.width, layout.height, reinterpret_cast<std::uint32_t*>(pixels.row(0)),
                                  asStored, stopOnError) == 0)
        throw damaged(errorsBehind());
    return pixels.image().extract_band(0, VImage::option()->set("n", 3));
}

/// A number of IEEE 754 of 16 bits.
float floatOfHalf(std::uint16_t half)
{
    const int exponent = half >> 10 & 31;
    const auto fraction = static_cast<float>(half & 1'023);
    const float size = exponent == 0    ? std::ldexp(fraction, -24)
                       : exponent == 31 ? (fraction == 0 ? std::numeric_limits<float>::infinity() : 0)
                                        : std::ldexp(fraction + 1'024, exponent - 25);
    return (half & 0x8000) != 0 ? -size : size;
}

void readHalfFloats(TIFF* tiff, const Layout& layout, PixelBuffer& pixels)
{
    readRows(tiff, layout, pixels, [](const auto& row, std::size_t i, std::byte* to, std::size_t place) {
        std::uint16_t half; // libtiff has put its bytes into the order of the machine
        std::memcpy(&half, row.data() + 2 * i, sizeof half);
        reinterpret_cast<float*>(to)[place] = floatOfHalf(half);
    });
}

/// Colours that are stored multiplied by their alpha are divided by it.
VImage withFreeColors(const VImage& image, TIFF* tiff)
{
    std::uint16_t count = 0;
    const std::uint16_t* kinds = nullptr;
    const bool isMultiplied = TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) && count > 0 &&
                              count < image.bands() && kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    if (!isMultiplied)
        return image;
    const VipsBandFormat format = image.format();
    const double opaque = format == VIPS_FORMAT_FLOAT ? 1 : format == VIPS_FORMAT_UCHAR ? 255 : 65'535;
    const VImage colors =
        image.unpremultiply(VImage::option()->set("max_alpha", opaque)->set("alpha_band", image.bands() - count));
    return format == VIPS_FORMAT_FLOAT ? colors : colors.rint().cast(format);
}

/// Grey that counts from white, with its alpha as it is.
VImage withFirstInverted(const VImage& image)
{
    const VImage inverted = image[0].invert();
    return image.bands() == 1 ? inverted
                              : inverted.bandjoin(image.extract_band(1, VImage::option()->set("n", image.bands() - 1)));
}

/// What is told about the pixels, as libvips tells it.
void describe(VImage& image, TIFF* tiff)
{
    image.set(VIPS_META_ORIENTATION, static_cast<int>(number<std::uint16_t>(tiff, TIFFTAG_ORIENTATION)));
    std::uint32_t profileBytes = 0;
    const char* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &profileBytes, &profile))
        embedProfile(image, std::string_view{profile, profileBytes});
    const double millimetres = number<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT) == RESUNIT_CENTIMETER ? 10 : 25.4;
    float across = 0;
    float down = 0;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &across) && TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &down) &&
        across > 0 && down > 0)
        image = image.copy(VImage::option()->set("xres", across / millimetres)->set("yres", down / millimetres));
}

} // namespace

bool hasRareLayout(TIFF* tiff)
{
    const Layout layout{tiff};
    if (layout.isColorDifferences() || layout.isStrangeJpeg())
        return true;
    const bool isKnown = layout.colors == PHOTOMETRIC_MINISWHITE || layout.colors == PHOTOMETRIC_MINISBLACK ||
                         layout.colors == PHOTOMETRIC_RGB || layout.colors == PHOTOMETRIC_SEPARATED;
    return isKnown && layout.bands >= 1 && layout.bands <= mostBands &&
           (layout.isPlanesOfTiles() || layout.isPackedBits() || layout.isHalfFloats());
}

VImage readRareLayout(TIFF* tiff, const ResourceLimits& limits)
{
    const Layout layout{tiff};
    if (layout.isStrangeJpeg())
        throw unsupportedTiff();
    requireAcceptableSize(layout.width, layout.height, 1, limits);
    if (layout.isColorDifferences()) {
        VImage image = readColorDifferences(tiff, layout);
        describe(image, tiff);
        return image;
    }
    const VipsBandFormat format = layout.isFloating ? VIPS_FORMAT_FLOAT
                                  : layout.isDeep() ? VIPS_FORMAT_USHORT
                                                    : VIPS_FORMAT_UCHAR;
    const bool isInks = layout.colors == PHOTOMETRIC_SEPARATED;
    PixelBuffer pixels{layout.width, layout.height, static_cast<int>(layout.bands), format,
                       isInks ? VIPS_INTERPRETATION_CMYK : VIPS_INTERPRETATION_MULTIBAND};
    if (layout.isPlanesOfTiles())
        readPlanesOfTiles(tiff, layout, pixels);
    else if (layout.isHalfFloats())
        readHalfFloats(tiff, layout, pixels);
    else
        readPackedBits(tiff, layout, pixels);
    VImage image = withFreeColors(pixels.image(), tiff);
    if (layout.colors == PHOTOMETRIC_MINISWHITE)
        image = withFirstInverted(image);
    describe(image, tiff);
    return image;
}

} // namespace nivex::image
