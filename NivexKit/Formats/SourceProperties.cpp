#include "NivexKit/Formats/SourceProperties.hpp"

#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {

JsonObject toJson(const SourceProperties& properties)
{
    JsonObject json;
    const auto add = [&json](std::string_view name, const auto& field) {
        if (field)
            json.set(name, JsonValue{*field});
    };
    add("pixelWidth", properties.pixelWidth);
    add("pixelHeight", properties.pixelHeight);
    add("hasAlpha", properties.hasAlpha);
    add("imageCount", properties.imageCount);
    add("pageCount", properties.pageCount);
    add("bitsPerComponent", properties.bitsPerComponent);
    add("isFloatingPoint", properties.isFloatingPoint);
    add("hasLocation", properties.hasLocation);
    add("isEncrypted", properties.isEncrypted);
    add("decoderTypeIdentifier", properties.decoderTypeIdentifier);
    add("durationSeconds", properties.durationSeconds);
    add("hasVideoTrack", properties.hasVideoTrack);
    add("hasAudioTrack", properties.hasAudioTrack);
    add("audioChannelCount", properties.audioChannelCount);
    add("audioBitDepth", properties.audioBitDepth);
    add("videoCodec", properties.videoCodec);
    add("hasTextLayer", properties.hasTextLayer);
    add("hasRigOrAnimation", properties.hasRigOrAnimation);
    add("hasLayers", properties.hasLayers);
    return json;
}

} // namespace nivex
