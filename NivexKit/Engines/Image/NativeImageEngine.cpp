#include "NivexKit/Engines/Image/NativeImageEngine.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"
#include "NivexKit/Engines/Image/PictureOptions.hpp"

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

/// Whether an animation goes on in a format that by its traits has none. Planners count one picture behind such a step,
/// so a further step would lose the others without a word.
bool hidesAnimation(const PictureFormat& source, const PictureFormat& target, const FileFormat& format)
{
    return source.read->pictures == KeptPictures::animation && target.written->pictures == KeptPictures::animation &&
           !format.has(FormatTrait::animation);
}

bool isDocument(const FileFormat& format) { return format.id == "pdf"; }

void addEdgesOfPages(const FormatRegistry& registry, std::vector<EngineCapability>& edges)
{
    const FileFormat* const pdf = registry.format("pdf");
    if (!pdf)
        return;
    for (const PictureFormat& target : pictureFormats()) {
        const FileFormat* to = registry.format(FormatID{target.id});
        if (!to || !target.written || isDocument(*to))
            continue;
        ConversionOptionKinds options = optionsOfPictures(*pdf, *target.written, *to);
        options.insert(Kind::background);
        options.insert(Kind::renderResolution);
        edges.push_back({.source = pdf->id,
                         .target = to->id,
                         .potentialLosses = mostLossesOfDrawing(*pdf, target),
                         .options = options,
                         .reportsProgress = true,
                         .refused = {Kind::removeBackground}});
    }
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const PictureFormat& source : pictureFormats()) {
        const FileFormat* from = registry.format(FormatID{source.id});
        if (!from || !source.read)
            continue;
        for (const PictureFormat& target : pictureFormats())
            if (const FileFormat* to = registry.format(FormatID{target.id}); to && target.written && to != from)
                edges.push_back({.source = from->id,
                                 .target = to->id,
                                 .potentialLosses = mostLossesOfPictures(*from, target),
                                 .options = optionsOfPictures(*from, *target.written, *to),
                                 .reportsProgress = true,
                                 .isTerminal = hidesAnimation(source, target, *to),
                                 .refused = {Kind::removeBackground}});
    }
    addEdgesOfPages(registry, edges);
    return edges;
}

} // namespace

NativeImageEngine::NativeImageEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-image", "Images macOS (ImageIO)"_fr, "image"}, std::move(pool), edges(registry)}
{
}

ConversionLoss NativeImageEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                                 const FileFormat& target, const ConversionOptions& options) const
{
    if (onlyLosesMetadata(source, target, options))
        return {};
    const PictureFormat* row = pictureFormat(target.id.rawValue);
    if (!row || !row->written)
        return LossAnalysis::inherent(source, properties, target);
    return isDocument(source) ? lossesOfDrawing(source, properties, *row, options)
                              : lossesOfPictures(source, properties, *row, options);
}

ExpectedOutputs NativeImageEngine::expectedOutputs(const EngineRequest& request) const
{
    // Not as many as were measured: what a document announces and what it has may differ.
    const bool isFilePerPage = isDocument(request.sourceFormat) && request.targetFormat.id != "tiff";
    return {.maxFiles = isFilePerPage ? request.limits.maxPDFPages : 1};
}

std::string NativeImageEngine::programFor(const EngineRequest& request) const
{
    return isDocument(request.sourceFormat) ? "pages" : WorkerEngine::programFor(request);
}

bool NativeImageEngine::removesMetadata(const FileFormat& format) const
{
    const PictureFormat* row = pictureFormat(format.id.rawValue);
    return row && row->read && row->read->losesMetadataAlone;
}

std::set<FormatID> NativeImageEngine::pendingValidationSources(const FormatRegistry& registry)
{
    std::set<FormatID> pending;
    for (const FileFormat* format : registry.formats(FormatFamily::image))
        if (const PictureFormat* row = pictureFormat(format->id.rawValue); !row || !row->read)
            pending.insert(format->id);
    return pending;
}

} // namespace nivex
