#include "NivexKit/Engines/Document/DocumentEngine.hpp"

#include "NivexKit/Engines/Document/DocumentFormats.hpp"

namespace nivex {
namespace {

using enum DocumentFormat::Holds;

/// Fonts, colours and the set-up of pages are in no document that is made here.
ConversionLoss lossesOf(const DocumentFormat& source, const DocumentFormat& target)
{
    const bool isKept = source.holds <= target.holds && source.holds != everything;
    return isKept ? ConversionLoss{} : ConversionLoss::formatting | ConversionLoss::layout;
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const DocumentFormat& source : documentFormats())
        for (const DocumentFormat& target : documentFormats()) {
            const FileFormat* from = registry.format(FormatID{source.id});
            const FileFormat* to = registry.format(FormatID{target.id});
            if (from && to && from != to && source.isRead && target.isWritten)
                edges.push_back({.source = from->id, .target = to->id, .potentialLosses = lossesOf(source, target)});
        }
    return edges;
}

} // namespace

DocumentEngine::DocumentEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-document", "Documents macOS (système de texte Cocoa)"_fr, "document"},
                   std::move(pool),
                   edges(registry)}
{
}

ConversionLoss DocumentEngine::expectedLosses(const FileFormat& source, const SourceProperties&,
                                              const FileFormat& target, const ConversionOptions&) const
{
    const DocumentFormat* from = documentFormat(source.id.rawValue);
    const DocumentFormat* to = documentFormat(target.id.rawValue);
    return from && to ? lossesOf(*from, *to) : ConversionLoss{};
}

} // namespace nivex
