#include "NivexKit/Workers/PropertiesMessage.hpp"

#include <cmath>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace nivex {
namespace {

/// Reads the member into the field when it is there; a measurement below zero or of another kind breaks the rules.
template <class Value>
void read(const MessageFields& fields, std::string (*text)(std::string_view), std::string_view name,
          std::optional<Value>& field)
{
    if (!fields.has(name))
        return;
    if constexpr (std::is_same_v<Value, bool>) {
        field = fields.boolean(name);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        field = text(fields.text(name));
    } else if constexpr (std::is_same_v<Value, std::int64_t>) {
        field = fields.integer(name);
        if (*field < 0)
            throw WorkerMessageError{"a measurement below zero"};
    } else {
        field = fields.value(name).number();
        if (!field || !std::isfinite(*field) || *field < 0)
            throw WorkerMessageError{"a duration that is none"};
    }
}

} // namespace

SourceProperties propertiesOf(const MessageFields& fields, std::string (*text)(std::string_view))
{
    SourceProperties result;
    const auto read = [&](std::string_view name, auto& field) { nivex::read(fields, text, name, field); };
    read("pixelWidth", result.pixelWidth);
    read("pixelHeight", result.pixelHeight);
    read("hasAlpha", result.hasAlpha);
    read("imageCount", result.imageCount);
    read("pageCount", result.pageCount);
    read("bitsPerComponent", result.bitsPerComponent);
    read("isFloatingPoint", result.isFloatingPoint);
    read("hasLocation", result.hasLocation);
    read("isEncrypted", result.isEncrypted);
    read("decoderTypeIdentifier", result.decoderTypeIdentifier);
    read("durationSeconds", result.durationSeconds);
    read("hasVideoTrack", result.hasVideoTrack);
    read("hasAudioTrack", result.hasAudioTrack);
    read("audioChannelCount", result.audioChannelCount);
    read("audioBitDepth", result.audioBitDepth);
    read("videoCodec", result.videoCodec);
    read("hasTextLayer", result.hasTextLayer);
    read("hasRigOrAnimation", result.hasRigOrAnimation);
    read("hasLayers", result.hasLayers);
    return result;
}

} // namespace nivex
