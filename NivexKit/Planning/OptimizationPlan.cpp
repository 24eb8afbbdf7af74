#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <algorithm>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

/// What shrinking costs and what a person may set for it, apart from the target size itself.
struct Shrinking {
    ConversionLoss losses;
    ConversionOptionKinds options;
};

Shrinking shrinking(const FileFormat& format)
{
    const ConversionLoss smaller = ConversionLoss::compression | ConversionLoss::resolution;
    if (format.id == "pdf")
        return {smaller | ConversionLoss::rasterization | ConversionLoss::formatting, {}};
    if (format.family == FormatFamily::video)
        return {smaller, {Kind::videoQuality}};
    return {smaller,
            {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile, Kind::removeBackground,
             Kind::background}};
}

bool isReencodedAsImage(const FileFormat& format)
{
    return !(format.id == "pdf") && format.family != FormatFamily::video;
}

/// The engine's edge from a format to itself, or null.
const EngineCapability* edgeInto(const FormatID& format, const ConversionEngine& engine)
{
    const auto edges = engine.capabilities();
    const auto found =
        std::ranges::find_if(edges, [&](const auto& each) { return each.source == format && each.target == format; });
    return found == edges.end() ? nullptr : &*found;
}

} // namespace

std::optional<ConversionPlan> ConversionPlanner::optimizationPlan(const DetectionResult& detection) const
{
    if (!detection.isUsable())
        return std::nullopt;
    const FileFormat& format = *detection.format;
    if (!OutputBudget::isOffered(format.id) || !graph_.isWritable(format.id))
        return std::nullopt;
    const ConversionEngine* optimizer = engine("native-optimization");
    if (!optimizer || !optimizer->availability().isAvailable())
        return std::nullopt;
    const EngineCapability* edge = edgeInto(format.id, *optimizer);
    if (!edge)
        return std::nullopt;

    auto [losses, options] = shrinking(format);
    options.insert(Kind::targetSize);
    if (const ConversionEngine* images = engine("native-image"); images && isReencodedAsImage(format))
        losses |= images->expectedLosses(format, detection.properties, format);
    return ConversionPlan{.source = format,
                          .target = format,
                          .steps = {{optimizer->id(), format.id, format.id}},
                          .losses = losses,
                          .options = options,
                          .reportsProgress = edge->reportsProgress,
                          .refused = edge->refused};
}

} // namespace nivex
