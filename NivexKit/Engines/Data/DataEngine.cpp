#include "NivexKit/Engines/Data/DataEngine.hpp"

#include "NivexKit/Engines/Data/DataFormats.hpp"

#include <cstdint>

namespace nivex {
namespace {

constexpr std::int64_t mostSheets = 1'000;

ConversionLoss lossesOf(const FormatID& source, const FormatID& target)
{
    const DataFormat* from = dataFormat(source.rawValue);
    const DataFormat* to = dataFormat(target.rawValue);
    ConversionLoss losses;
    if (from && from->isWorkbook)
        losses |= ConversionLoss::formulas | ConversionLoss::formatting;
    const bool isFlattened = from && to && !from->isTabular && to->isTabular;
    const bool isPlain = source == "json" && target == "plist";
    const bool isWithoutNull = target == "toml" && (source == "json" || source == "yaml");
    // Elements and attributes are members elsewhere, and in them every value is text.
    const bool isMarkup = source == "xml" || (target == "xml" && from && from->hasTypes);
    const bool isNarrowed = source == "plist" && target != "yaml" && target != "plist";
    if (isFlattened || isPlain || isNarrowed || isWithoutNull || isMarkup)
        losses |= ConversionLoss::structure;
    return losses;
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const DataFormat& source : dataFormats())
        for (const DataFormat& target : dataFormats()) {
            const FileFormat* from = registry.format(FormatID{source.id});
            const FileFormat* to = registry.format(FormatID{target.id});
            if (from && to && from != to && source.isRead && target.isWritten)
                edges.push_back({.source = from->id,
                                 .target = to->id,
                                 .potentialLosses = lossesOf(from->id, to->id),
                                 .reportsProgress = true});
        }
    return edges;
}

} // namespace

DataEngine::DataEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{
          {"native-data", "Données (CSV, Excel, JSON, YAML, plist)"_fr, "data"}, std::move(pool), edges(registry)}
{
}

ConversionLoss DataEngine::expectedLosses(const FileFormat& source, const SourceProperties&, const FileFormat& target,
                                          const ConversionOptions&) const
{
    return lossesOf(source.id, target.id);
}

ExpectedOutputs DataEngine::expectedOutputs(const EngineRequest& request) const
{
    const DataFormat* from = dataFormat(request.sourceFormat.id.rawValue);
    const DataFormat* to = dataFormat(request.targetFormat.id.rawValue);
    const bool isOnePerSheet = from && to && from->isWorkbook && to->isTabular && !to->isWorkbook;
    return {.maxFiles = isOnePerSheet ? mostSheets : 1};
}

} // namespace nivex
