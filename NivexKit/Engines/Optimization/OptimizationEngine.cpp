#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

constexpr ConversionLoss lossesOfShrinking = ConversionLoss::compression | ConversionLoss::resolution;

} // namespace

OptimizationEngine::OptimizationEngine(const FormatRegistry& registry, WorkerPool& pool)
    : pool_{pool}, availability_{pool.availability("image")}
{
    for (const FileFormat& format : registry.known({"jpeg", "heic", "avif", "jp2"}))
        capabilities_.push_back(
            {.source = format.id,
             .target = format.id,
             .potentialLosses = lossesOfShrinking,
             .options = {Kind::quality, Kind::dimensions, Kind::metadata, Kind::colorProfile, Kind::targetSize},
             .reportsProgress = true,
             .supportsCancellation = true,
             .refused = {Kind::removeBackground}});
}

std::string OptimizationEngine::displayName() const { return "Optimisation locale"_fr; }

ConversionLoss OptimizationEngine::expectedLosses(const FileFormat&, const SourceProperties&, const FileFormat&) const
{
    return lossesOfShrinking;
}

std::vector<std::filesystem::path> OptimizationEngine::convert(const EngineRequest& request,
                                                               const ProgressCallback& progress,
                                                               const CancellationFlag& cancellation) const
{
    return pool_.convert({.program = "image", .engine = id(), .request = request}, progress, cancellation);
}

} // namespace nivex
