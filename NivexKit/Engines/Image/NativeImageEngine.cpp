#include "NivexKit/Engines/Image/NativeImageEngine.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;
using enum FormatTrait;

bool losesDepth(const ReadPictures& source, const SourceProperties& properties, const WrittenPictures& target)
{
    if (properties.isFloatingPoint.value_or(false) || source.isFloating)
        return target.depth != PixelDepth::floating;
    return properties.bitsPerComponent.value_or(source.usualBits) >
           (target.depth == PixelDepth::eight ? 8 : target.mostBits);
}

bool exceeds(const SourceProperties& properties, std::int64_t longestSide)
{
    return longestSide > 0 &&
           std::max(properties.pixelWidth.value_or(0), properties.pixelHeight.value_or(0)) > longestSide;
}

/// Only floating point makes a picture below the limit of pixels so large.
bool isTooLargeForMetadata(const SourceProperties& properties, const WrittenPictures& target)
{
    const double bytes = static_cast<double>(properties.pixelWidth.value_or(0)) *
                         static_cast<double>(properties.pixelHeight.value_or(0)) *
                         (properties.hasAlpha.value_or(false) ? 4 : 3) * sizeof(float);
    return target.mostBytesBesideMetadata > 0 && properties.isFloatingPoint.value_or(false) &&
           bytes > target.mostBytesBesideMetadata;
}

bool mayHaveLayers(const FileFormat& source)
{
    return source.family == FormatFamily::graphics && source.traits.has(layers);
}

ConversionLoss lossOfPictures(const ReadPictures& source, const SourceProperties& properties,
                              const WrittenPictures& target)
{
    if (!properties.hasSeveralImages() && !properties.hasSeveralPages())
        return {};
    if (source.mayMove && properties.durationSeconds)
        return ConversionLoss::animation;
    if (keepsAll(source.pictures, target.pictures))
        return {};
    return source.pictures == KeptPictures::animation ? ConversionLoss::animation : ConversionLoss::pages;
}

/// What files of a format may hold; little is known of one that this engine does not read.
ReadPictures readPictures(const FileFormat& source)
{
    const PictureFormat* row = pictureFormat(source.id.rawValue);
    return row && row->read ? *row->read : ReadPictures{};
}

/// What the work loses of a file: what the target's row cannot hold of what is known of the file.
ConversionLoss lossesOf(const FileFormat& format, const SourceProperties& properties, const WrittenPictures& target)
{
    const ReadPictures source = readPictures(format);
    ConversionLoss losses = lossOfPictures(source, properties, target);
    const auto add = [&losses](ConversionLoss loss, bool isLost) { losses |= isLost ? loss : ConversionLoss{}; };
    add(ConversionLoss::transparency, properties.hasAlpha.value_or(source.hidesAlpha) && !target.hasAlpha);
    add(ConversionLoss::layers, properties.hasLayers.value_or(mayHaveLayers(format)));
    add(ConversionLoss::resolution, exceeds(properties, target.longestSide));
    add(ConversionLoss::rawDevelopment, format.traits.has(raw));
    add(ConversionLoss::colorPalette, target.hasPalette);
    add(ConversionLoss::colorDepth, losesDepth(source, properties, target));
    const bool takesMetadata = target.hasMetadata && !isTooLargeForMetadata(properties, target);
    add(ConversionLoss::metadata, source.isMap || (!takesMetadata && source.hasMetadata));
    const bool staysAsItIs = format.id == target.takesOver || (target.keepsExact && source.isExact);
    add(ConversionLoss::compression, target.isLossy && !staysAsItIs);
    return losses;
}

/// A file of a format that has all that such files can have.
SourceProperties richest(const FileFormat& source)
{
    const PictureFormat* row = pictureFormat(source.id.rawValue);
    const WrittenPictures written = row && row->written ? *row->written : WrittenPictures{};
    const bool isFloating = written.depth == PixelDepth::floating;
    const bool isDeep = isFloating || source.traits.has(highDynamicRange) || written.depth != PixelDepth::eight;
    const bool holdsSeveral = readPictures(source).pictures != KeptPictures::first;
    return {.pixelWidth = written.longestSide > 0 ? written.longestSide : std::numeric_limits<std::int64_t>::max(),
            .hasAlpha = source.traits.has(transparency),
            .imageCount = holdsSeveral ? 2 : 1,
            .bitsPerComponent = isDeep ? 16 : 8,
            .isFloatingPoint = isFloating,
            .hasLayers = source.traits.has(layers)};
}

/// What an edge may lose: what it loses of files that have all that such files can have, at rest or moving.
ConversionLoss lossesOfRichest(const FileFormat& source, const WrittenPictures& target)
{
    SourceProperties properties = richest(source);
    const ConversionLoss atRest = lossesOf(source, properties, target);
    properties.durationSeconds = 1;
    return atRest | lossesOf(source, properties, target);
}

ConversionOptionKinds optionsOf(const FileFormat& source, const WrittenPictures& target, const FileFormat& format)
{
    ConversionOptionKinds kinds{Kind::dimensions};
    if (target.isLossy)
        kinds.insert(Kind::quality);
    if (target.hasMetadata && readPictures(source).hasMetadata)
        kinds.insert(Kind::metadata);
    if (target.hasProfile)
        kinds.insert(Kind::colorProfile);
    if (!target.hasAlpha && source.traits.has(transparency))
        kinds.insert(Kind::background);
    if (OutputBudget::isOffered(format.id))
        kinds.insert(Kind::targetSize);
    return kinds;
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
                                 .potentialLosses = lossesOfRichest(*from, *target.written),
                                 .options = optionsOf(*from, *target.written, *to),
                                 .reportsProgress = true,
                                 .refused = {Kind::removeBackground}});
    }
    return edges;
}

} // namespace

NativeImageEngine::NativeImageEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{{"native-image", "Images macOS (ImageIO)"_fr, "image"}, std::move(pool), edges(registry)}
{
}

ConversionLoss NativeImageEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                                 const FileFormat& target) const
{
    const PictureFormat* row = pictureFormat(target.id.rawValue);
    return row && row->written ? lossesOf(source, properties, *row->written)
                               : LossAnalysis::inherent(source, properties, target);
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
