#pragma once

#include "NivexKit/Formats/SourceProperties.hpp"

#include <string_view>

namespace nivex {

/// Calls `visit(name, field)` with the stored name of each measurement and the member that holds it.
template <class Visit>
void forEachSourceProperty(Visit visit)
{
    using Properties = SourceProperties;
    visit("pixelWidth", &Properties::pixelWidth);
    visit("pixelHeight", &Properties::pixelHeight);
    visit("hasAlpha", &Properties::hasAlpha);
    visit("imageCount", &Properties::imageCount);
    visit("pageCount", &Properties::pageCount);
    visit("bitsPerComponent", &Properties::bitsPerComponent);
    visit("isFloatingPoint", &Properties::isFloatingPoint);
    visit("hasLocation", &Properties::hasLocation);
    visit("isEncrypted", &Properties::isEncrypted);
    visit("decoderTypeIdentifier", &Properties::decoderTypeIdentifier);
    visit("durationSeconds", &Properties::durationSeconds);
    visit("hasVideoTrack", &Properties::hasVideoTrack);
    visit("hasAudioTrack", &Properties::hasAudioTrack);
    visit("audioChannelCount", &Properties::audioChannelCount);
    visit("audioBitDepth", &Properties::audioBitDepth);
    visit("videoCodec", &Properties::videoCodec);
    visit("hasTextLayer", &Properties::hasTextLayer);
    visit("hasRigOrAnimation", &Properties::hasRigOrAnimation);
    visit("hasLayers", &Properties::hasLayers);
    visit("hasMaterials", &Properties::hasMaterials);
}

} // namespace nivex
