#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <algorithm>

namespace nivex {

std::optional<ConversionPlan> ConversionPlanner::removalPlan(const DetectionResult& detection) const
{
    if (!detection.isUsable())
        return std::nullopt;
    const FileFormat& format = *detection.format;
    const auto found =
        std::ranges::find_if(engines_, [&format](const auto& each) { return each->removesMetadata(format); });
    if (found == engines_.end())
        return std::nullopt;
    return ConversionPlan{.source = format,
                          .target = format,
                          .steps = {{(*found)->id(), format.id, format.id}},
                          .losses = {},
                          .options = {ConversionOptionKind::metadata}};
}

} // namespace nivex
