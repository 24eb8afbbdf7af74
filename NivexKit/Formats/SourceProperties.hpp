#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace nivex {

class JsonObject;

/// What detection measured of a file. An absent field was not measured.
struct SourceProperties {
    std::optional<std::int64_t> pixelWidth;
    std::optional<std::int64_t> pixelHeight;
    std::optional<bool> hasAlpha;
    std::optional<std::int64_t> imageCount;
    std::optional<std::int64_t> pageCount;
    std::optional<std::int64_t> bitsPerComponent;
    std::optional<bool> isFloatingPoint;
    std::optional<bool> hasLocation;
    std::optional<bool> isEncrypted;
    std::optional<std::string> decoderTypeIdentifier;
    std::optional<double> durationSeconds;
    std::optional<bool> hasVideoTrack;
    std::optional<bool> hasAudioTrack;
    std::optional<std::int64_t> audioChannelCount;
    std::optional<std::int64_t> audioBitDepth;
    std::optional<std::string> videoCodec;
    std::optional<bool> hasTextLayer;
    std::optional<bool> hasRigOrAnimation;
    std::optional<bool> hasLayers;
    std::optional<bool> hasMaterials;

    bool hasSeveralImages() const { return imageCount.value_or(1) > 1; }
    bool hasSeveralPages() const { return pageCount.value_or(1) > 1; }
    bool isHighBitDepth() const { return bitsPerComponent.value_or(8) > 8 || isFloatingPoint.value_or(false); }

    bool operator==(const SourceProperties&) const = default;
};

/// The fields as JSON members under their own names; absent fields are left out.
JsonObject toJson(const SourceProperties& properties);

} // namespace nivex
