#include "NivexWorkers/Image/Pixels/Scaling.hpp"

#include "NivexWorkers/Image/Picture.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr std::size_t rootCount = 65'536; // numbers that stand for roots of light, which are as fine in the dark

/// The amount of light for each number of sRGB (IEC 61966-2-1). Other curves are near enough for mixing neighbours.
template <class Number>
std::vector<float> lights()
{
    constexpr std::size_t count = std::size_t{std::numeric_limits<Number>::max()} + 1;
    std::vector<float> table(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(i) / static_cast<double>(count - 1);
        table[i] = static_cast<float>(value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
    }
    return table;
}

/// The number of sRGB for each root of an amount of light.
template <class Number>
std::vector<Number> numbers()
{
    std::vector<Number> table(rootCount);
    for (std::size_t i = 0; i < rootCount; ++i) {
        const double root = static_cast<double>(i) / (rootCount - 1);
        const double light = root * root;
        const double value = light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
        table[i] = static_cast<Number>(std::lround(value * std::numeric_limits<Number>::max()));
    }
    return table;
}

/// Values put through a table, which lives as long as the program.
template <class Value>
VImage through(const std::vector<Value>& table, VipsBandFormat format, const VImage& image)
{
    return image.maplut(VImage::new_from_memory(const_cast<Value*>(table.data()), table.size() * sizeof(Value),
                                                static_cast<int>(table.size()), 1, 1, format));
}

VImage lightOf(const VImage& colors)
{
    static const std::vector<float> ofBytes = lights<std::uint8_t>();
    if (colors.format() == VIPS_FORMAT_UCHAR)
        return through(ofBytes, VIPS_FORMAT_FLOAT, colors);
    static const std::vector<float> ofWords = lights<std::uint16_t>();
    return through(ofWords, VIPS_FORMAT_FLOAT, colors);
}

VImage numbersOf(const VImage& light, VipsBandFormat format)
{
    const VImage roots = ((light > 0).ifthenelse(light, 0).pow(0.5) * (rootCount - 1)).rint().cast(VIPS_FORMAT_USHORT);
    static const std::vector<std::uint8_t> bytes = numbers<std::uint8_t>();
    if (format == VIPS_FORMAT_UCHAR)
        return through(bytes, format, roots);
    static const std::vector<std::uint16_t> words = numbers<std::uint16_t>();
    return through(words, format, roots);
}

/// The colours of a picture of whole numbers as light, with alpha from 0 to 1.
VImage withLight(const VImage& image)
{
    if (!image.has_alpha())
        return lightOf(image);
    const int last = image.bands() - 1;
    const VImage alpha = (image[last] / opaqueAlpha(image)).cast(VIPS_FORMAT_FLOAT);
    return lightOf(image.extract_band(0, VImage::option()->set("n", last))).bandjoin(alpha);
}

VImage withNumbers(const VImage& light, const VImage& like)
{
    if (!like.has_alpha())
        return numbersOf(light, like.format());
    const int last = like.bands() - 1;
    const VImage alpha = (light[last] * opaqueAlpha(like)).rint().cast(like.format());
    return numbersOf(light.extract_band(0, VImage::option()->set("n", last)), like.format()).bandjoin(alpha);
}

VImage resized(const VImage& image, double across, double down)
{
    return image.resize(across, VImage::option()->set("vscale", down));
}

/// What is transparent has a colour too, which must not bleed into its neighbours.
VImage resizedBesideAlpha(const VImage& image, double opaque, double across, double down)
{
    const auto most = [opaque] { return VImage::option()->set("max_alpha", opaque); };
    return resized(image.premultiply(most()), across, down).unpremultiply(most());
}

} // namespace

VImage noLongerThan(std::int64_t longest, const VImage& image)
{
    const int side = std::max(image.width(), image.height());
    if (longest == 0 || side <= longest)
        return image;
    const double scale = static_cast<double>(longest) / side;
    const auto scaleTo = [scale](int length) { return std::max(1.0, std::round(length * scale)) / length; };
    const double across = scaleTo(image.width());
    const double down = scaleTo(image.height());
    const bool isLightAlready = image.format() == VIPS_FORMAT_FLOAT;
    if (isLightAlready || isCmyk(image)) // inks mix as they are
        return image.has_alpha() ? resizedBesideAlpha(image, opaqueAlpha(image), across, down).cast(image.format())
                                 : resized(image, across, down);
    const VImage light = withLight(image);
    const VImage small = image.has_alpha() ? resizedBesideAlpha(light, 1, across, down) : resized(light, across, down);
    return withNumbers(small, image).copy(VImage::option()->set("interpretation", image.interpretation()));
}

} // namespace nivex::image
