#pragma once

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Engines/Media/MediaFormats.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <cstdint>

namespace nivex {

/// What a file of this kind may lose on its way to another.
ConversionLoss potentialMediaLosses(const MediaFormat& source, const MediaFormat& target);

/// What this file loses with these options. What was not measured is taken as what may be lost.
ConversionLoss mediaLosses(const MediaFormat& source, const SourceProperties& properties, const MediaFormat& target,
                           const ConversionOptions& options);

/// The longest side of a GIF picture, in pixels, unless a person asks for another.
constexpr std::int64_t gifPixels = 480;

constexpr ConversionLoss potentialLossesOfGif =
    ConversionLoss::duration | ConversionLoss::audioTrack | ConversionLoss::colorPalette | ConversionLoss::resolution;

/// What a film loses as GIF pictures.
ConversionLoss lossesOfGif(const SourceProperties& properties, const ConversionOptions& options);

/// Whether pictures of a codec may stay as they are: the format takes them, and nobody asked for another codec. H.264
/// is what is encoded where nobody asks, and is no such wish.
bool keepsPictures(std::string_view codec, const MediaFormat& target, const ConversionOptions& options);

/// How many pixels the shorter side of a film has at most.
std::optional<std::int64_t> mostPixels(VideoQuality quality);

} // namespace nivex
