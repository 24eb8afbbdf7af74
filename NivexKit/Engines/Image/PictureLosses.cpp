#include "NivexKit/Engines/Image/PictureLosses.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace nivex {
namespace {

using enum FormatTrait;

bool losesDepth(const ReadPictures& source, const SourceProperties& properties, const WrittenPictures& target)
{
    if (properties.isFloatingPoint.value_or(false) || source.isFloating)
        return target.depth != PixelDepth::floating;
    return properties.bitsPerComponent.value_or(source.usualBits) >
           (target.depth == PixelDepth::eight ? 8 : target.mostBits);
}

std::int64_t longestSide(const SourceProperties& properties)
{
    return std::max(properties.pixelWidth.value_or(0), properties.pixelHeight.value_or(0));
}

/// By how much a picture is made smaller because a person asked for it; 1 for a picture whose size is not known.
double askedScale(const SourceProperties& properties, const ConversionOptions& options)
{
    const auto longest = static_cast<double>(longestSide(properties));
    const auto asked = static_cast<double>(options.maxPixelDimension.value_or(0));
    return asked > 0 && longest > asked ? asked / longest : 1;
}

double pixels(const SourceProperties& properties, double scale)
{
    return scale * static_cast<double>(properties.pixelWidth.value_or(0)) * scale *
           static_cast<double>(properties.pixelHeight.value_or(0));
}

/// Only floating point makes a picture below the limit of pixels so large.
bool isTooLargeForMetadata(const SourceProperties& properties, const WrittenPictures& target, double scale)
{
    const double bytes = pixels(properties, scale) * (properties.hasAlpha.value_or(false) ? 4 : 3) * sizeof(float);
    return target.mostBytesBesideMetadata > 0 && properties.isFloatingPoint.value_or(false) &&
           bytes > target.mostBytesBesideMetadata;
}

bool hasTargetSize(const PictureFormat& target, const ConversionOptions& options)
{
    return options.maxFileBytes && OutputBudget::isOffered(FormatID{target.id});
}

/// Whether a picture gets fewer pixels than the person asks for: the format holds no more, or so many would hardly
/// come below the target size at any quality.
bool losesPixels(const SourceProperties& properties, const PictureFormat& target, const ConversionOptions& options)
{
    constexpr double bytesThatAlwaysDo = 0.5; // a pixel: what the lowest quality of a search takes for a rich picture
    const double scale = askedScale(properties, options);
    const auto longest = scale * static_cast<double>(longestSide(properties));
    if (target.written->longestSide > 0 && longest > static_cast<double>(target.written->longestSide))
        return true;
    const double count = properties.pixelWidth && properties.pixelHeight ? pixels(properties, scale)
                                                                         : std::numeric_limits<double>::infinity();
    return hasTargetSize(target, options) && static_cast<double>(*options.maxFileBytes) < bytesThatAlwaysDo * count;
}

/// Whether the data of the file are taken over, or stored without loss as they were.
bool staysExact(const FileFormat& format, const SourceProperties& properties, const PictureFormat& target,
                const ConversionOptions& options)
{
    if (hasTargetSize(target, options))
        return false;
    if (options.quality >= 1 && target.written->isExactAtBest)
        return true;
    if (options.quality < ConversionOptions{}.quality)
        return false;
    const bool isTakenOver = format.id == target.written->takesOver && askedScale(properties, options) == 1 &&
                             options.colorProfile == ColorProfilePolicy::preserve;
    return isTakenOver || (target.written->keepsExact && picturesRead(format).isExact);
}

bool mayHaveLayers(const FileFormat& source)
{
    return source.family == FormatFamily::graphics && source.traits.has(layers);
}

ConversionLoss lossOfSeveral(const ReadPictures& source, const SourceProperties& properties,
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

/// A file of a format that has all that such files can have.
SourceProperties richest(const FileFormat& source)
{
    const PictureFormat* row = pictureFormat(source.id.rawValue);
    const WrittenPictures written = row && row->written ? *row->written : WrittenPictures{};
    const bool isFloating = written.depth == PixelDepth::floating;
    const bool isDeep = isFloating || source.traits.has(highDynamicRange) || written.depth != PixelDepth::eight;
    const bool holdsSeveral = picturesRead(source).pictures != KeptPictures::first;
    return {.pixelWidth = written.longestSide > 0 ? written.longestSide : std::numeric_limits<std::int64_t>::max(),
            .hasAlpha = source.traits.has(transparency),
            .imageCount = holdsSeveral ? 2 : 1,
            .bitsPerComponent = isDeep ? 16 : 8,
            .isFloatingPoint = isFloating,
            .hasLayers = source.traits.has(layers)};
}

} // namespace

ReadPictures picturesRead(const FileFormat& format)
{
    const PictureFormat* row = pictureFormat(format.id.rawValue);
    return row && row->read ? *row->read : ReadPictures{};
}

bool onlyLosesMetadata(const FileFormat& source, const FileFormat& target, const ConversionOptions& options)
{
    ConversionOptions onlyMetadata;
    onlyMetadata.metadata = options.metadata;
    return source.id == target.id && options == onlyMetadata && options.metadata != MetadataPolicy::keep &&
           picturesRead(source).losesMetadataAlone;
}

ConversionLoss lossesOfPictures(const FileFormat& format, const SourceProperties& properties,
                                const PictureFormat& targetFormat, const ConversionOptions& options)
{
    const ReadPictures source = picturesRead(format);
    const WrittenPictures& target = *targetFormat.written;
    const bool takesMetadata =
        target.hasMetadata && !isTooLargeForMetadata(properties, target, askedScale(properties, options));
    ConversionLoss losses = lossOfSeveral(source, properties, target);
    const auto add = [&losses](ConversionLoss loss, bool isLost) { losses |= isLost ? loss : ConversionLoss{}; };
    add(ConversionLoss::transparency, properties.hasAlpha.value_or(source.hidesAlpha) && !target.hasAlpha);
    add(ConversionLoss::layers, properties.hasLayers.value_or(mayHaveLayers(format)));
    add(ConversionLoss::resolution, losesPixels(properties, targetFormat, options));
    add(ConversionLoss::rawDevelopment, format.traits.has(raw));
    add(ConversionLoss::colorPalette, target.hasPalette);
    add(ConversionLoss::colorDepth, losesDepth(source, properties, target));
    add(ConversionLoss::metadata,
        options.metadata != MetadataPolicy::removeAll && (source.isMap || (!takesMetadata && source.hasMetadata)));
    add(ConversionLoss::compression, target.isLossy && !staysExact(format, properties, targetFormat, options));
    return losses;
}

ConversionLoss mostLossesOfPictures(const FileFormat& source, const PictureFormat& target)
{
    constexpr ConversionOptions leastAsked{.quality = 0, .maxFileBytes = 1};
    SourceProperties properties = richest(source);
    const ConversionLoss atRest = lossesOfPictures(source, properties, target, leastAsked);
    properties.durationSeconds = 1;
    return atRest | lossesOfPictures(source, properties, target, leastAsked);
}

ConversionLoss lossesOfDrawing(const FileFormat& source, const SourceProperties& properties,
                               const PictureFormat& target, const ConversionOptions& options)
{
    const SourceProperties drawn{.pixelWidth = properties.pixelWidth,
                                 .pixelHeight = properties.pixelHeight,
                                 .hasAlpha = properties.hasAlpha,
                                 .bitsPerComponent = 8,
                                 .hasLayers = properties.hasLayers};
    return ConversionLoss::rasterization | lossesOfPictures(source, drawn, target, options);
}

ConversionLoss mostLossesOfDrawing(const FileFormat& source, const PictureFormat& target)
{
    constexpr ConversionOptions leastAsked{.quality = 0, .maxFileBytes = 1};
    return lossesOfDrawing(source,
                           {.pixelWidth = std::numeric_limits<std::int64_t>::max(),
                            .pixelHeight = std::numeric_limits<std::int64_t>::max(),
                            .hasAlpha = source.traits.has(transparency),
                            .hasLayers = true},
                           target, leastAsked);
}

} // namespace nivex
