#include "NivexWorkers/Image/Codecs/Tiff/TiffLayouts.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr unsigned mostBands = 16;
constexpr tmsize_t mostBytesAtOnce = 256 << 20;

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
          bands{number<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL)},
          bits{number<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE)}, colors{number<std::uint16_t>(tiff,
                                                                                                 TIFFTAG_PHOTOMETRIC)},
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
    bool isTwelveBits() const { return bits == 12 && isWhole && !isPlanar && !isTiled; }

    std::uint32_t width;
    std::uint32_t height;
    unsigned bands;
    unsigned bits;
    unsigned colors;
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
        throw damaged();
    std::vector<std::byte> tile(static_cast<std::size_t>(tileBytes));
    for (unsigned band = 0; band < layout.bands; ++band)
        for (std::size_t top = 0; top < layout.height; top += length)
            for (std::size_t left = 0; left < layout.width; left += side) {
                if (TIFFReadTile(tiff, tile.data(), static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top),
                                 0, static_cast<std::uint16_t>(band)) < 0)
                    throw damaged();
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

/// Two components lie in three bytes, the higher bits first; they are spread over 16 bits.
void readTwelveBits(TIFF* tiff, const Layout& layout, PixelBuffer& pixels)
{
    const std::size_t count = std::size_t{layout.width} * layout.bands;
    const tmsize_t rowBytes = TIFFScanlineSize(tiff);
    if (rowBytes <= 0 || rowBytes > mostBytesAtOnce || static_cast<std::size_t>(rowBytes) < (count * 3 + 1) / 2)
        throw damaged();
    std::vector<std::uint8_t> packed(static_cast<std::size_t>(rowBytes));
    for (std::uint32_t y = 0; y < layout.height; ++y) {
        if (TIFFReadScanline(tiff, packed.data(), y, 0) < 0)
            throw damaged();
        auto* const row = pixels.samples<std::uint16_t>(y);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* const at = packed.data() + i / 2 * 3 + i % 2;
            const unsigned pair = unsigned{at[0]} << 8U | at[1];
            const unsigned value = i % 2 == 0 ? pair >> 4U : pair & 0xFFFU;
            row[i] = static_cast<std::uint16_t>(value << 4U | value >> 8U);
        }
    }
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
    const bool isKnown = layout.colors == PHOTOMETRIC_MINISWHITE || layout.colors == PHOTOMETRIC_MINISBLACK ||
                         layout.colors == PHOTOMETRIC_RGB || layout.colors == PHOTOMETRIC_SEPARATED;
    return isKnown && layout.bands >= 1 && layout.bands <= mostBands &&
           (layout.isPlanesOfTiles() || layout.isTwelveBits());
}

VImage readRareLayout(TIFF* tiff, const ResourceLimits& limits)
{
    const Layout layout{tiff};
    requireAcceptableSize(layout.width, layout.height, 1, limits);
    const VipsBandFormat format = layout.isFloating  ? VIPS_FORMAT_FLOAT
                                  : layout.bits == 8 ? VIPS_FORMAT_UCHAR
                                                     : VIPS_FORMAT_USHORT;
    const bool isInks = layout.colors == PHOTOMETRIC_SEPARATED;
    PixelBuffer pixels{layout.width, layout.height, static_cast<int>(layout.bands), format,
                       isInks ? VIPS_INTERPRETATION_CMYK : VIPS_INTERPRETATION_MULTIBAND};
    if (layout.isPlanesOfTiles())
        readPlanesOfTiles(tiff, layout, pixels);
    else
        readTwelveBits(tiff, layout, pixels);
    VImage image = withFreeColors(pixels.image(), tiff);
    if (layout.colors == PHOTOMETRIC_MINISWHITE)
        image = image.invert();
    describe(image, tiff);
    return image;
}

} // namespace nivex::image
