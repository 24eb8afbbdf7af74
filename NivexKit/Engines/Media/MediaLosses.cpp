#include "NivexKit/Engines/Media/MediaLosses.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// Whether the sound may be encoded anew, and loses by it.
bool encodesSound(const MediaFormat& source, const MediaFormat& target, const ConversionOptions& options)
{
    if (!target.isCompressed)
        return false;
    const bool wantsRate = target.id == "m4a" && options.audioBitRate != ConversionOptions{}.audioBitRate;
    return wantsRate || !target.copies(source.usualSound);
}

bool makesSmaller(const SourceProperties& properties, const ConversionOptions& options)
{
    const auto most = mostPixels(options.videoQuality);
    return most && (!properties.pixelWidth || !properties.pixelHeight ||
                    std::min(*properties.pixelWidth, *properties.pixelHeight) > *most);
}

bool encodesPictures(const SourceProperties& properties, const MediaFormat& target, const ConversionOptions& options)
{
    if (!properties.hasVideoTrack.value_or(true))
        return false;
    return !properties.videoCodec || !keepsPictures(*properties.videoCodec, target, options) ||
           makesSmaller(properties, options);
}

} // namespace

std::optional<std::int64_t> mostPixels(VideoQuality quality)
{
    switch (quality) {
    case VideoQuality::original:
        return std::nullopt;
    case VideoQuality::p1080:
        return 1'080;
    case VideoQuality::p720:
        return 720;
    case VideoQuality::p480:
        return 480;
    }
    return std::nullopt;
}

bool keepsPictures(std::string_view codec, const MediaFormat& target, const ConversionOptions& options)
{
    if (!target.copies(codec))
        return false;
    switch (options.videoCodec) {
    case VideoCodec::h264:
        return true;
    case VideoCodec::hevc:
        return codec == "hevc";
    case VideoCodec::prores422:
    case VideoCodec::prores4444:
        return false; // the codec's name does not tell which of the two it is
    }
    return false;
}

ConversionLoss potentialMediaLosses(const MediaFormat& source, const MediaFormat& target)
{
    ConversionLoss losses = ConversionLoss::channels;
    if (target.isFilm)
        losses |= ConversionLoss::compression | ConversionLoss::transparency | ConversionLoss::resolution;
    else if (encodesSound(source, target, {}) || target.id == "m4a")
        losses |= ConversionLoss::compression;
    if (source.isFilm && !target.isFilm)
        losses |= ConversionLoss::videoTrack;
    return losses;
}

ConversionLoss mediaLosses(const MediaFormat& source, const SourceProperties& properties, const MediaFormat& target,
                           const ConversionOptions& options)
{
    ConversionLoss losses;
    const bool hasSound = properties.hasAudioTrack.value_or(true);
    if (hasSound && encodesSound(source, target, options))
        losses |= ConversionLoss::compression;
    if (hasSound && properties.audioChannelCount.value_or(2) > target.mostChannels)
        losses |= ConversionLoss::channels;
    if (!target.isFilm)
        return source.isFilm && properties.hasVideoTrack.value_or(true) ? losses | ConversionLoss::videoTrack : losses;
    if (encodesPictures(properties, target, options)) {
        losses |= ConversionLoss::compression;
        if (properties.hasAlpha.value_or(false) && options.videoCodec != VideoCodec::prores4444)
            losses |= ConversionLoss::transparency;
    }
    if (properties.hasVideoTrack.value_or(true) && makesSmaller(properties, options))
        losses |= ConversionLoss::resolution;
    if (options.maxFileBytes)
        losses |= ConversionLoss::compression | ConversionLoss::resolution;
    return losses;
}

ConversionLoss lossesOfGif(const SourceProperties& properties, const ConversionOptions& options)
{
    ConversionLoss losses = ConversionLoss::colorPalette;
    if (properties.durationSeconds.value_or(ConversionLoss::gifMaximumSeconds + 1) > ConversionLoss::gifMaximumSeconds)
        losses |= ConversionLoss::duration;
    if (properties.hasAudioTrack.value_or(true))
        losses |= ConversionLoss::audioTrack;
    const std::int64_t most = options.maxPixelDimension.value_or(gifPixels);
    if (std::max(properties.pixelWidth.value_or(most + 1), properties.pixelHeight.value_or(most + 1)) > most)
        losses |= ConversionLoss::resolution;
    return losses;
}

} // namespace nivex
