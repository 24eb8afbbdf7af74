#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"
#include "NivexKit/Engines/Media/MediaFormats.hpp"

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

constexpr ConversionLoss lossesOfShrinking = ConversionLoss::compression | ConversionLoss::resolution;

/// The format of a row that is read, written and offers a target size; else null.
const FileFormat* shrunkFormat(const FormatRegistry& registry, std::string_view id)
{
    const FileFormat* format = registry.format(FormatID{id});
    return format && OutputBudget::isOffered(format->id) ? format : nullptr;
}

EngineCapability edgeOf(const FileFormat& format, ConversionOptionKinds options)
{
    return {.source = format.id,
            .target = format.id,
            .potentialLosses = lossesOfShrinking,
            .options = std::move(options),
            .reportsProgress = true};
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const PictureFormat& row : pictureFormats())
        if (const FileFormat* format = shrunkFormat(registry, row.id); format && row.read && row.written) {
            edges.push_back(edgeOf(*format, {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile,
                                             Kind::removeBackground, Kind::background, Kind::targetSize}));
            edges.back().refused = {Kind::removeBackground};
        }
    for (const MediaFormat& row : mediaFormats())
        if (const FileFormat* format = shrunkFormat(registry, row.id); format && row.isWritten)
            edges.push_back(edgeOf(*format, {Kind::metadata, Kind::videoQuality, Kind::targetSize}));
    return edges;
}

} // namespace

OptimizationEngine::OptimizationEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-optimization", "Optimisation locale"_fr, "image"}, std::move(pool), edges(registry)}
{
}

ConversionLoss OptimizationEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                                  const FileFormat& target, const ConversionOptions& options) const
{
    const PictureFormat* row = pictureFormat(target.id.rawValue);
    return lossesOfShrinking |
           (row && row->written ? lossesOfPictures(source, properties, *row, options) : ConversionLoss{});
}

std::optional<std::chrono::seconds> OptimizationEngine::timeout(const EngineRequest& request) const
{
    return mediaFormat(request.sourceFormat.id.rawValue) ? std::optional{request.limits.mediaStepTimeout}
                                                         : std::nullopt;
}

std::string OptimizationEngine::programFor(const EngineRequest& request) const
{
    return mediaFormat(request.sourceFormat.id.rawValue) ? "media" : WorkerEngine::programFor(request);
}

} // namespace nivex
