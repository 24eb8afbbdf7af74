#include "NivexWorkers/Image/Codecs/Tiff/TiffPage.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/DeflatedPixels.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/OrderedWork.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;
using Bytes = std::vector<std::byte>;

/// A reader that wants a part of the picture decodes whole strips.
constexpr std::size_t stripBytes = 256 * 1024;

/// What there is to know of the rows of a page.
struct Layout {
    explicit Layout(const VImage& image)
        : format{image.format()}, bands{static_cast<std::size_t>(image.bands())},
          rowBytes{static_cast<std::size_t>(image.width()) * bands *
                   static_cast<std::size_t>(vips_format_sizeof(format))}
    {
    }

    VipsBandFormat format;
    std::size_t bands;
    std::size_t rowBytes;
};

/// Each sample becomes the difference from the one to its left (TIFF 6.0, section 14).
template <class Sample>
void subtractLeft(std::byte* row, const Layout& layout)
{
    auto* const samples = reinterpret_cast<Sample*>(row);
    for (std::size_t i = layout.rowBytes / sizeof(Sample) - 1; i >= layout.bands; --i)
        samples[i] = static_cast<Sample>(samples[i] - samples[i - layout.bands]);
}

/// The bytes of all samples of a row, the highest of each first, then the next ones, as differences like those of
/// single bytes (Adobe Photoshop TIFF Technical Note 3).
void subtractFloats(std::byte* row, const Layout& layout)
{
    const Bytes samples{row, row + layout.rowBytes};
    const std::size_t count = layout.rowBytes / sizeof(float);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t byte = 0; byte < sizeof(float); ++byte)
            row[byte * count + i] = samples[i * sizeof(float) + sizeof(float) - 1 - byte];
    subtractLeft<std::uint8_t>(row, layout);
}

std::string compressedStrip(Bytes strip, const Layout& layout)
{
    const auto subtract = layout.format == VIPS_FORMAT_FLOAT    ? subtractFloats
                          : layout.format == VIPS_FORMAT_USHORT ? subtractLeft<std::uint16_t>
                                                                : subtractLeft<std::uint8_t>;
    for (std::size_t at = 0; at < strip.size(); at += layout.rowBytes)
        subtract(strip.data() + at, layout);
    return zlibStream(strip, StripContents::differences);
}

void require(bool done)
{
    if (!done)
        throw notSaved("TIFF");
}

/// What libtiff is told of a page before its strips.
class PageTags {
public:
    PageTags(TIFF* file, const VImage& image) : file_{file}, image_{image} {}

    void set(std::uint32_t rowsOfStrip)
    {
        const bool isFloating = image_.format() == VIPS_FORMAT_FLOAT;
        tag(TIFFTAG_IMAGEWIDTH, image_.width());
        tag(TIFFTAG_IMAGELENGTH, image_.height());
        tag(TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * vips_format_sizeof(image_.format())));
        tag(TIFFTAG_SAMPLEFORMAT, isFloating ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        tag(TIFFTAG_SAMPLESPERPIXEL, image_.bands());
        tag(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        tag(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        tag(TIFFTAG_ROWSPERSTRIP, rowsOfStrip);
        tag(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        tag(TIFFTAG_PREDICTOR, isFloating ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
        setColors();
        setResolution();
        if (const std::string_view profile = profileOf(image_); !profile.empty())
            require(TIFFSetField(file_, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                                 profile.data()) == 1);
    }

private:
    template <class Value>
    void tag(std::uint32_t name, Value value)
    {
        require(TIFFSetField(file_, name, value) == 1);
    }

    void setColors()
    {
        const int colors = isCmyk(image_) ? 4 : isGrey(image_) ? 1 : 3;
        tag(TIFFTAG_PHOTOMETRIC, colors == 4   ? PHOTOMETRIC_SEPARATED
                                 : colors == 1 ? PHOTOMETRIC_MINISBLACK
                                               : PHOTOMETRIC_RGB);
        if (colors == 4)
            tag(TIFFTAG_INKSET, INKSET_CMYK);
        const std::vector<std::uint16_t> extras(static_cast<std::size_t>(image_.bands() - colors),
                                                EXTRASAMPLE_UNASSALPHA);
        if (!extras.empty())
            require(TIFFSetField(file_, TIFFTAG_EXTRASAMPLES, static_cast<std::uint16_t>(extras.size()),
                                 extras.data()) == 1);
    }

    /// In the unit in which the source told it.
    void setResolution()
    {
        const bool isInInches = image_.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0 &&
                                std::string_view{image_.get_string(VIPS_META_RESOLUTION_UNIT)} == "in";
        const double millimetres = isInInches ? 25.4 : 10;
        tag(TIFFTAG_RESOLUTIONUNIT, isInInches ? RESUNIT_INCH : RESUNIT_CENTIMETER);
        tag(TIFFTAG_XRESOLUTION, std::clamp(image_.xres() * millimetres, 0.01, 1'000'000.0));
        tag(TIFFTAG_YRESOLUTION, std::clamp(image_.yres() * millimetres, 0.01, 1'000'000.0));
    }

    TIFF* file_;
    const VImage& image_;
};

} // namespace

void writeTiffPage(TIFF* file, const VImage& image, unsigned processors, const ProgressCallback& progress)
{
    const Layout layout{image};
    const std::size_t rowsOfStrip =
        std::clamp<std::size_t>(stripBytes / layout.rowBytes, 1, static_cast<std::size_t>(image.height()));
    PageTags{file, image}.set(static_cast<std::uint32_t>(rowsOfStrip));

    std::uint32_t written = 0;
    OrderedWork<std::string> compression{processors, [&](std::string stream) {
                                             const auto size = static_cast<tmsize_t>(stream.size());
                                             require(TIFFWriteRawStrip(file, written++, stream.data(), size) == size);
                                         }};
    Bytes strip;
    pullRows(image, progress, 0, 1, [&](int y, std::span<const std::byte> row) {
        strip.insert(strip.end(), row.begin(), row.end());
        if (strip.size() < rowsOfStrip * layout.rowBytes && y + 1 < image.height())
            return;
        compression.add(
            [rows = std::exchange(strip, {}), &layout]() mutable { return compressedStrip(std::move(rows), layout); });
    });
    compression.finish();
    require(TIFFWriteDirectory(file) == 1);
    progress(1.0);
}

} // namespace nivex::image
