#include "NivexWorkers/Pages/Drawing/PixelSize.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>
#include <string>

namespace nivex::pages {
namespace {

constexpr double pointsPerInch = 72;
constexpr double mostBitmapSide = 32'767; // of a bitmap of the drawing library

/// Rounded up, as a page whose last row is covered by half still has that row; save for errors of calculation.
int pixels(double points, double scale)
{
    constexpr double tolerance = 1e-6;
    return std::max(1, static_cast<int>(std::ceil(points * scale - tolerance)));
}

double limitOf(const EngineRequest& request)
{
    const PictureFormat* const target = pictureFormat(request.targetFormat.id.rawValue);
    double limit = std::min(mostBitmapSide, static_cast<double>(request.limits.maxRenderedPageDimension));
    if (target && target->written && target->written->longestSide > 0)
        limit = std::min(limit, static_cast<double>(target->written->longestSide));
    return limit;
}

std::string withoutArea(std::optional<std::int64_t> number)
{
    return number ? filled("la page {} n'a pas de surface"_fr, {std::to_string(*number)})
                  : "le dessin n'a pas de surface"_fr.localized();
}

std::string tooLarge(std::optional<std::int64_t> number)
{
    return number ? filled("la page {} est trop grande pour être dessinée"_fr, {std::to_string(*number)})
                  : "le dessin est trop grand"_fr.localized();
}

} // namespace

PixelSize pixelSizeOf(PointSize size, const EngineRequest& request, std::optional<std::int64_t> number)
{
    if (!(size.width > 0) || !(size.height > 0))
        throw ConversionError::unreadableSource(withoutArea(number));
    const double longest = std::max(size.width, size.height);
    const double tallest = static_cast<double>(request.limits.maxRenderedPageDimension);
    if (!std::isfinite(longest) || longest * lowestDPI / pointsPerInch > tallest)
        throw ConversionError::resourceLimit(tooLarge(number));

    double asked = request.options.renderDPI / pointsPerInch;
    if (request.options.maxPixelDimension)
        asked = std::min(asked, static_cast<double>(*request.options.maxPixelDimension) / longest);
    const double pixelArea = static_cast<double>(request.limits.maxImagePixels) / (size.width * size.height);
    const double possible = std::min(limitOf(request) / longest, std::sqrt(pixelArea));
    const double scale = std::min(asked, possible);
    return {.width = pixels(size.width, scale),
            .height = pixels(size.height, scale),
            .scale = scale,
            .isReduced = possible < asked};
}

} // namespace nivex::pages
