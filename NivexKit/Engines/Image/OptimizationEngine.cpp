#include "NivexKit/Engines/Image/OptimizationEngine.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

constexpr ConversionLoss lossesOfShrinking = ConversionLoss::compression | ConversionLoss::resolution;

/// What is read, written and offers a target size.
std::vector<FileFormat> shrunkFormats(const FormatRegistry& registry)
{
    std::vector<FileFormat> formats;
    for (const PictureFormat& row : pictureFormats())
        if (const FileFormat* format = registry.format(FormatID{row.id});
            format && row.read && row.written && OutputBudget::isOffered(format->id))
            formats.push_back(*format);
    return formats;
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const FileFormat& format : shrunkFormats(registry))
        edges.push_back({.source = format.id,
                         .target = format.id,
                         .potentialLosses = lossesOfShrinking,
                         .options = {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile,
                                     Kind::removeBackground, Kind::background, Kind::targetSize},
                         .reportsProgress = true,
                         .refused = {Kind::removeBackground}});
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

} // namespace nivex
