#include "NivexKit/Engines/Pages/VectorEngine.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"
#include "NivexKit/Engines/Image/PictureOptions.hpp"

namespace nivex {
namespace {

constexpr std::string_view document = "pdf"; // it is also a row of the pictures, which a drawing need not become

EngineCapability edge(const FileFormat& source, const FileFormat& target, const PictureFormat& row)
{
    if (row.id == document)
        return {.source = source.id, .target = target.id};
    ConversionOptionKinds options = optionsOfPictures(source, *row.written, target);
    options.insert(ConversionOptionKind::renderResolution);
    return {.source = source.id,
            .target = target.id,
            .potentialLosses = mostLossesOfDrawing(source, row),
            .options = options,
            .refused = {ConversionOptionKind::removeBackground}};
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    for (const FileFormat& source : registry.known({"svg", "svgz"}))
        for (const PictureFormat& row : pictureFormats())
            if (const FileFormat* target = registry.format(FormatID{row.id}); target && row.written)
                edges.push_back(edge(source, *target, row));
    return edges;
}

} // namespace

VectorEngine::VectorEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-vector", "Dessins vectoriels macOS (SVG)"_fr, "pages"}, std::move(pool), edges(registry)}
{
}

ConversionLoss VectorEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                            const FileFormat& target, const ConversionOptions& options) const
{
    const PictureFormat* row = pictureFormat(target.id.rawValue);
    if (!row || !row->written || row->id == document)
        return {};
    SourceProperties drawing = properties;
    drawing.hasAlpha = properties.hasAlpha.value_or(true); // a drawing has no ground unless it draws one
    return lossesOfDrawing(source, drawing, *row, options);
}

} // namespace nivex
