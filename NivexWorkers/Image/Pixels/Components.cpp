#include "NivexWorkers/Image/Pixels/Components.hpp"

#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Picture.hpp"

#include <iterator>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

/// Components of a format that frames have.
VImage withUsualFormat(const VImage& image)
{
    switch (image.format()) {
    case VIPS_FORMAT_UCHAR:
    case VIPS_FORMAT_USHORT:
    case VIPS_FORMAT_FLOAT:
        return image;
    case VIPS_FORMAT_CHAR: // signed numbers: their zero is the middle
        return (image + 128).cast(VIPS_FORMAT_UCHAR);
    case VIPS_FORMAT_SHORT:
        return (image + 32'768).cast(VIPS_FORMAT_USHORT);
    case VIPS_FORMAT_UINT:
        return (image >> 16).cast(VIPS_FORMAT_USHORT);
    case VIPS_FORMAT_INT:
        return ((image >> 16) + 32'768).cast(VIPS_FORMAT_USHORT);
    case VIPS_FORMAT_COMPLEX:
    case VIPS_FORMAT_DPCOMPLEX:
        return image.abs().cast(VIPS_FORMAT_FLOAT);
    default:
        return image.cast(VIPS_FORMAT_FLOAT);
    }
}

bool isAnotherColorSpace(VipsInterpretation interpretation)
{
    switch (interpretation) {
    case VIPS_INTERPRETATION_LCH:
    case VIPS_INTERPRETATION_XYZ:
    case VIPS_INTERPRETATION_YXY:
        return true;
    default:
        return false;
    }
}

bool isLab(const VImage& image)
{
    return (image.interpretation() == VIPS_INTERPRETATION_LAB || image.interpretation() == VIPS_INTERPRETATION_LABS) &&
           image.bands() >= 3;
}

/// L*a*b* as libvips reads it, with alpha as it is stored: 0…1 beside floating point, else 16 bits in signed numbers.
VImage rgbOfLab(const VImage& image)
{
    constexpr int colors = 3;
    constexpr int bits = 16;
    const VImage lab = image.extract_band(0, VImage::option()->set("n", colors))
                           .copy(VImage::option()->set("interpretation", image.interpretation()))
                           .colourspace(VIPS_INTERPRETATION_LAB);
    const VImage rgb = labAsRgb(lab, bits);
    if (image.bands() == colors)
        return rgb;
    const VImage alpha = image[colors];
    return rgb
        .bandjoin(alpha.format() == VIPS_FORMAT_SHORT ? alpha.copy(VImage::option()->set("format", VIPS_FORMAT_USHORT))
                                                      : (alpha * 65'535).rint().cast(VIPS_FORMAT_USHORT))
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16));
}

VipsInterpretation interpretationOf(const VImage& image, bool isGrey)
{
    switch (image.format()) {
    case VIPS_FORMAT_FLOAT:
        return VIPS_INTERPRETATION_scRGB;
    case VIPS_FORMAT_USHORT:
        return isGrey ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16;
    default:
        return isGrey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB;
    }
}

} // namespace

VImage greyLightAsRgb(const VImage& image)
{
    std::vector<VImage> components(3, image[0]);
    if (image.bands() == 2)
        components.push_back(image[1]);
    return VImage::bandjoin(components).copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB));
}

VImage labAsRgb(const VImage& lab, int bits)
{
    const std::vector<double> whiteOfD50{96.42, 100, 82.49};
    // XYZ of D50, 100 for white, to sRGB's light of D65 (Bradford), white exactly to 1
    double cells[] = {0.031335761, -0.016167222, -0.004905708, -0.009787594, 0.019161238,
                      0.000334537, 0.000719768,  -0.002290915, 0.014058571};
    const VImage matrix = VImage::new_matrix(3, 3, cells, static_cast<int>(std::size(cells)));
    return lab.Lab2XYZ(VImage::option()->set("temp", whiteOfD50))
        .recomb(matrix)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB))
        .colourspace(bits == 16 ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
}

namespace {

/// Numbers that a profile explains are kept as 16 bits, which say as much; light needs no profile.
VImage withExplainedNumbers(const VImage& image)
{
    if (image.format() != VIPS_FORMAT_FLOAT || !hasProfile(image))
        return image;
    VImage known = withUsableProfile(image);
    if (hasProfile(known) && !countsLight(profileOf(known)))
        return (known * 65'535).rint().cast(VIPS_FORMAT_USHORT);
    known = known.copy();
    known.remove(VIPS_META_ICC_NAME);
    return known;
}

} // namespace

VImage withUsualComponents(const VImage& original)
{
    if (original.coding() == VIPS_CODING_LABQ)
        return rgbOfLab(original.LabQ2Lab());
    if (isLab(original))
        return rgbOfLab(original);
    if (isAnotherColorSpace(original.interpretation()))
        return original.colourspace(VIPS_INTERPRETATION_RGB16);
    VImage image = withUsualFormat(original);
    if (image.interpretation() == VIPS_INTERPRETATION_CMYK && image.bands() >= 4)
        return image.format() == VIPS_FORMAT_FLOAT
                   ? (image * 65'535)
                         .rint()
                         .cast(VIPS_FORMAT_USHORT)
                         .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_CMYK))
                   : image;
    const bool isGrey = image.bands() < 3;
    const int bands = isGrey ? image.bands() : image.bands() > 3 ? 4 : 3;
    if (image.bands() > bands)
        image = image.extract_band(0, VImage::option()->set("n", bands));
    image = withExplainedNumbers(image);
    if (isGrey && image.format() == VIPS_FORMAT_FLOAT)
        return greyLightAsRgb(image);
    return image.copy(VImage::option()->set("interpretation", interpretationOf(image, isGrey)));
}

} // namespace nivex::image
