#include "NivexWorkers/Image/Pixels/Components.hpp"

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
    case VIPS_INTERPRETATION_LAB:
    case VIPS_INTERPRETATION_LABQ:
    case VIPS_INTERPRETATION_LABS:
    case VIPS_INTERPRETATION_LCH:
    case VIPS_INTERPRETATION_XYZ:
    case VIPS_INTERPRETATION_YXY:
        return true;
    default:
        return false;
    }
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

VImage withUsualComponents(const VImage& original)
{
    if (isAnotherColorSpace(original.interpretation()))
        return original.colourspace(VIPS_INTERPRETATION_RGB16);
    VImage image = withUsualFormat(original);
    if (image.interpretation() == VIPS_INTERPRETATION_CMYK && image.bands() >= 4)
        return image.format() == VIPS_FORMAT_FLOAT ? (image * 255).cast(VIPS_FORMAT_UCHAR) : image;
    const bool isGrey = image.bands() < 3;
    const int bands = isGrey ? image.bands() : image.bands() > 3 ? 4 : 3;
    if (image.bands() > bands)
        image = image.extract_band(0, VImage::option()->set("n", bands));
    if (isGrey && image.format() == VIPS_FORMAT_FLOAT)
        return greyLightAsRgb(image);
    return image.copy(VImage::option()->set("interpretation", interpretationOf(image, isGrey)));
}

} // namespace nivex::image
