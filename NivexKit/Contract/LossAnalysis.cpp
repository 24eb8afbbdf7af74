#include "NivexKit/Contract/LossAnalysis.hpp"

#include <algorithm>
#include <bit>

namespace nivex {
namespace {

using enum FormatTrait;

bool isHeard(const FileFormat& format)
{
    return format.family == FormatFamily::audio || format.family == FormatFamily::video;
}

bool keepsLayers(const FileFormat& format) { return format.has(layers) || format.id == "svg"; }

bool keepsSeveral(const FileFormat& format) { return format.has(animation) || format.has(multiPage); }

ConversionLoss lossOfSequence(const FileFormat& source, const FileFormat& target)
{
    if (source.has(animation) && source.family == FormatFamily::image && !target.has(animation))
        return ConversionLoss::animation;
    return keepsSeveral(target) ? ConversionLoss{} : ConversionLoss::pages;
}

bool losesLayers(const FileFormat& source, const SourceProperties& properties, const FileFormat& target)
{
    if (source.has(layers) && source.family == FormatFamily::graphics && !target.has(layers))
        return true;
    return properties.hasLayers.value_or(false) && !(target.id == "svg");
}

} // namespace

double LossAnalysis::cost(ConversionLoss losses)
{
    constexpr double majorCost = 5.0;
    constexpr double otherCost = 0.5;
    const int major = std::popcount(losses.majorPart().rawValue());
    const int all = std::popcount(losses.rawValue());
    return majorCost * major + otherCost * (all - major);
}

ConversionLoss LossAnalysis::inherent(const FileFormat& source, const SourceProperties& properties,
                                      const FileFormat& target)
{
    ConversionLoss losses;
    if (properties.hasAlpha.value_or(false) && !target.has(transparency))
        losses |= ConversionLoss::transparency;
    if (properties.hasSeveralImages() || properties.hasSeveralPages())
        losses |= lossOfSequence(source, target);
    if (source.has(vector) && !target.has(vector))
        losses |= ConversionLoss::rasterization;
    if (losesLayers(source, properties, target))
        losses |= ConversionLoss::layers;
    if (target.has(lossy) && !target.has(lossless))
        losses |= ConversionLoss::compression;
    if (properties.isHighBitDepth() && !target.has(highDynamicRange))
        losses |= ConversionLoss::colorDepth;
    if (source.has(raw) && !target.has(raw))
        losses |= ConversionLoss::rawDevelopment;
    if (source.family == FormatFamily::video && properties.hasVideoTrack.value_or(true) &&
        target.family == FormatFamily::audio)
        losses |= ConversionLoss::videoTrack;
    if (properties.hasAudioTrack.value_or(false) && !isHeard(target))
        losses |= ConversionLoss::audioTrack;
    return losses;
}

SourceProperties LossAnalysis::propagate(SourceProperties properties, const FileFormat& /*from*/, const FileFormat& to)
{
    if (properties.hasLayers)
        properties.hasLayers = *properties.hasLayers && keepsLayers(to);
    if (!keepsSeveral(to)) {
        if (properties.imageCount)
            properties.imageCount = 1;
        if (properties.pageCount)
            properties.pageCount = 1;
    }
    if (properties.hasAlpha)
        properties.hasAlpha = *properties.hasAlpha && to.has(transparency);
    if (!to.has(highDynamicRange)) {
        if (properties.bitsPerComponent)
            properties.bitsPerComponent = std::min<std::int64_t>(*properties.bitsPerComponent, 8);
        if (properties.isFloatingPoint)
            properties.isFloatingPoint = false;
    }
    if (to.family == FormatFamily::audio)
        properties.hasVideoTrack = false;
    if (!isHeard(to))
        properties.hasAudioTrack.reset();
    properties.decoderTypeIdentifier.reset();
    return properties;
}

} // namespace nivex
