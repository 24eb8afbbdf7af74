#include "NivexKit/Contract/OptionRanges.hpp"

namespace nivex {

std::optional<Text> rangeViolation(const ConversionOptions& options)
{
    using namespace optionRanges;
    if (options.maxPixelDimension && !maxPixelDimension.contains(*options.maxPixelDimension))
        return maxPixelDimension.whenOutside;
    if (!quality.contains(options.quality))
        return quality.whenOutside;
    if (!renderDPI.contains(options.renderDPI))
        return renderDPI.whenOutside;
    if (options.maxFileBytes && !maxFileBytes.contains(*options.maxFileBytes))
        return maxFileBytes.whenOutside;
    if (!audioBitRate.contains(options.audioBitRate))
        return audioBitRate.whenOutside;
    return std::nullopt;
}

} // namespace nivex
