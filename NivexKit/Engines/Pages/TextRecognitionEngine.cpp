#include "NivexKit/Engines/Pages/TextRecognitionEngine.hpp"

namespace nivex {
namespace {

/// Of a page's text only the words remain.
constexpr ConversionLoss lossesOfText = ConversionLoss::formatting | ConversionLoss::layout;

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    if (registry.format("pdf") && registry.format("txt"))
        edges.push_back({.source = "pdf", .target = "txt", .potentialLosses = lossesOfText, .reportsProgress = true});
    return edges;
}

} // namespace

TextRecognitionEngine::TextRecognitionEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{
          {"native-text", "Reconnaissance de texte macOS (Vision)"_fr, "pages"}, std::move(pool), edges(registry)}
{
}

ConversionLoss TextRecognitionEngine::expectedLosses(const FileFormat&, const SourceProperties&, const FileFormat&,
                                                     const ConversionOptions&) const
{
    return lossesOfText;
}

} // namespace nivex
