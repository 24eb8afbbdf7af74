#include "NivexWorkers/Image/Pixels/Colors.hpp"

#include "NivexWorkers/Image/Codecs/Profiles.hpp"

namespace nivex::image {
namespace {

using vips::VImage;

bool isFloating(const VImage& image) { return image.format() == VIPS_FORMAT_FLOAT; }
bool isDeep(const VImage& image) { return image.format() == VIPS_FORMAT_USHORT; }

VImage withoutProfile(const VImage& image)
{
    VImage bare = image.copy();
    bare.remove(VIPS_META_ICC_NAME);
    return bare;
}

/// Transforms by profile. `profile` is one of those built into libvips: "srgb", "p3" or "cmyk".
VImage transformed(const VImage& image, const char* profile)
{
    // A profile for colour cannot read grey; grey without a profile is sRGB's grey.
    VImage source = image;
    if (isGrey(image) && !hasProfile(image))
        source = image.colourspace(isDeep(image) ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
    const auto intent = readingIntent(profileOf(source)).value_or(VIPS_INTENT_RELATIVE);
    return source.icc_transform(profile, VImage::option()
                                             ->set("intent", intent)
                                             ->set("embedded", true)
                                             ->set("input_profile", isCmyk(source) ? "cmyk" : "srgb")
                                             ->set("black_point_compensation", true)
                                             ->set("depth", isDeep(source) ? 16 : 8));
}

/// `convert` applied to the colours, and the alpha brought to the range that it has beside them.
template <class Convert>
VImage withColorsConverted(const VImage& image, Convert convert)
{
    constexpr int colors = 3;
    if (image.bands() <= colors)
        return convert(image);
    const VImage converted = convert(image.extract_band(0, VImage::option()->set("n", colors)));
    const VImage alpha = image[colors] * (opaqueAlpha(converted) / opaqueAlpha(image));
    return converted.bandjoin((isFloating(converted) ? alpha : alpha.rint()).cast(converted.format()));
}

/// Floating point is linear light of sRGB's primaries; made whole it is sRGB of 16 or 8 bits.
VImage noDeeperThan(PixelDepth depth, const VImage& image)
{
    if (isFloating(image) && depth != PixelDepth::floating)
        return withColorsConverted(withoutProfile(image), [depth](const VImage& colors) {
            return colors.colourspace(depth == PixelDepth::sixteen ? VIPS_INTERPRETATION_RGB16
                                                                   : VIPS_INTERPRETATION_sRGB);
        });
    if (!isDeep(image) || depth != PixelDepth::eight)
        return image;
    if (isCmyk(image))
        return image.msb().copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK));
    return image.colourspace(isGrey(image) ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB);
}

/// Grey that a profile explains as sRGB's grey.
VImage standardGrey(const VImage& image)
{
    constexpr int green = 1;
    constexpr int alpha = 3;
    const VImage rgb = withoutProfile(transformed(image, "srgb"));
    const VImage grey = rgb.bands() > alpha ? rgb[green].bandjoin(rgb[alpha]) : rgb[green];
    return grey.copy(VImage::option()->set("interpretation", image.interpretation()));
}

VImage preserved(const VImage& image, const WrittenPictures& target)
{
    const bool isGreyed = isGrey(image) && hasProfile(image);
    if (isGreyed && (!target.hasProfile || target.refusesGreyProfile))
        return standardGrey(image);
    if (isCmyk(image) ? target.hasCmyk : target.hasProfile || !hasProfile(image))
        return image;
    const VImage converted = transformed(image, "srgb");
    return target.hasProfile ? converted : withoutProfile(converted);
}

} // namespace

VImage inLinearLight(const VImage& frame)
{
    if (isFloating(frame))
        return frame;
    const VImage source = isCmyk(frame) || hasProfile(frame) ? withoutProfile(transformed(frame, "srgb")) : frame;
    const VImage color = isGrey(source)
                             ? source.colourspace(isDeep(source) ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB)
                             : source;
    return withColorsConverted(color,
                               [](const VImage& colors) { return colors.colourspace(VIPS_INTERPRETATION_scRGB); });
}

VImage inColors(const VImage& frame, const WrittenPictures& target, ColorProfilePolicy policy)
{
    const VImage image = noDeeperThan(target.depth, frame);
    if (isFloating(image) || policy == ColorProfilePolicy::preserve)
        return preserved(image, target);
    if (policy == ColorProfilePolicy::cmyk)
        return target.hasCmyk ? transformed(image, "cmyk") : preserved(image, target);
    if (!target.hasProfile)
        return preserved(image, target);
    return transformed(image, policy == ColorProfilePolicy::sRGB ? "srgb" : "p3");
}

} // namespace nivex::image
