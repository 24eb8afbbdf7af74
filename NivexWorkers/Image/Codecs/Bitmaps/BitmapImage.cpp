#include "NivexWorkers/Image/Codecs/Bitmaps/BitmapImage.hpp"

#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Pixels/Components.hpp"

#include <cstring>
#include <exception>

namespace nivex::image {
namespace {

using vips::VImage;
using vips::VOption;

constexpr double defaultDotsPerMillimetre = 72 / 25.4;

/// Where the pixels of a row of a region stand, from `left` on.
std::byte* pixelsOf(VipsRegion* region, int left, int y)
{
    auto* const data = reinterpret_cast<std::byte*>(region->data);
    const auto pixelBytes = static_cast<std::ptrdiff_t>(vips_image_get_bands(region->im)) *
                            static_cast<std::ptrdiff_t>(vips_format_sizeof(vips_image_get_format(region->im)));
    return data + std::ptrdiff_t{region->bpl} * (y - region->valid.top) + pixelBytes * (left - region->valid.left);
}

/// Called by libvips, from its threads, for a part of the image that is needed.
int generate(VipsRegion* region, void*, void* userData, void*, gboolean*)
{
    const auto& bitmap = *static_cast<const Bitmap*>(userData);
    const VipsRect& area = region->valid;
    const std::size_t pixelBytes = bitmap.rowBytes() / static_cast<std::size_t>(bitmap.width);
    try {
        std::vector<std::byte> whole;
        for (int y = area.top; y < area.top + area.height; ++y) {
            std::byte* const to = pixelsOf(region, area.left, y);
            if (area.width == bitmap.width) {
                bitmap.readRow(y, {to, bitmap.rowBytes()});
                continue;
            }
            whole.resize(bitmap.rowBytes());
            bitmap.readRow(y, whole);
            std::memcpy(to, whole.data() + static_cast<std::size_t>(area.left) * pixelBytes,
                        static_cast<std::size_t>(area.width) * pixelBytes);
        }
        return 0;
    } catch (const ConversionError& failure) {
        vips_error("bitmap", "%s", failure.cause().c_str());
        return -1;
    } catch (const std::exception& failure) {
        vips_error("bitmap", "%s", failure.what());
        return -1;
    }
}

VipsInterpretation interpretationOf(const Bitmap& bitmap)
{
    switch (bitmap.colors) {
    case BitmapColors::grey:
        return bitmap.bits == 16 ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W;
    case BitmapColors::cmyk:
        return VIPS_INTERPRETATION_CMYK;
    case BitmapColors::lab: // until its components are brought into range
        return VIPS_INTERPRETATION_MULTIBAND;
    case BitmapColors::rgb:
        break;
    }
    return bitmap.bits == 32   ? VIPS_INTERPRETATION_scRGB
           : bitmap.bits == 16 ? VIPS_INTERPRETATION_RGB16
                               : VIPS_INTERPRETATION_sRGB;
}

VImage lazyImage(Bitmap&& source)
{
    auto* const bitmap = new Bitmap{std::move(source)};
    VipsImage* const image = vips_image_new();
    g_object_set_data_full(G_OBJECT(image), "nivex-bitmap", bitmap,
                           [](void* data) { delete static_cast<Bitmap*>(data); });
    const auto orDefault = [](double dots) { return dots > 0 ? dots : defaultDotsPerMillimetre; };
    vips_image_init_fields(image, bitmap->width, bitmap->height, bitmap->bands(),
                           bitmap->bits == 32   ? VIPS_FORMAT_FLOAT
                           : bitmap->bits == 16 ? VIPS_FORMAT_USHORT
                                                : VIPS_FORMAT_UCHAR,
                           VIPS_CODING_NONE, interpretationOf(*bitmap), orDefault(bitmap->horizontalDotsPerMillimetre),
                           orDefault(bitmap->verticalDotsPerMillimetre));
    VImage owner{image};
    if (vips_image_pipelinev(image, VIPS_DEMAND_STYLE_THINSTRIP, nullptr) != 0 ||
        vips_image_generate(image, nullptr, generate, nullptr, bitmap, nullptr) != 0)
        throw vips::VError();
    return owner;
}

/// From stored L*a*b* to sRGB.
VImage standardColours(const VImage& image, int bits)
{
    const VImage lab = image.extract_band(0, VImage::option()->set("n", 3));
    const double unit = bits == 16 ? 256 : 1;
    const double lightness = 100 / (bits == 16 ? 65'535.0 : 255.0);
    const VImage colours =
        labAsRgb(lab.linear(std::vector<double>{lightness, 1 / unit, 1 / unit}, std::vector<double>{0, -128, -128})
                     .cast(VIPS_FORMAT_FLOAT)
                     .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_LAB)),
                 bits);
    return image.bands() == 3 ? colours
                              : colours.bandjoin(image.extract_band(3))
                                    .copy(VImage::option()->set("interpretation", colours.interpretation()));
}

} // namespace

SharedSource openedSource(const ReadRequest& request)
{
    auto file = FileSource::open(request.file);
    if (!file)
        throw damaged(cannotOpen);
    return std::make_shared<FileSource>(std::move(*file));
}

VImage imageOf(Bitmap bitmap)
{
    const BitmapColors colors = bitmap.colors;
    const int bits = bitmap.bits;
    const std::vector<std::byte> profile = std::move(bitmap.profile);
    VImage image = lazyImage(std::move(bitmap));
    if (colors == BitmapColors::lab)
        return standardColours(image, bits);
    constexpr int floatingPoint = 32;
    if (bits == floatingPoint) // linear light, which no profile explains better
        return colors == BitmapColors::grey ? greyLightAsRgb(image) : image;
    embedProfile(image, {reinterpret_cast<const char*>(profile.data()), profile.size()});
    return image;
}

} // namespace nivex::image
