#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace nivex {

class JsonValue;

enum class MetadataPolicy { keep, removeLocation, removeAll };
enum class ColorProfilePolicy { preserve, sRGB, displayP3, cmyk };
enum class FlattenBackground { white, black };
enum class PageBackground { white, transparent };
enum class VideoQuality { original, p1080, p720, p480 };
enum class VideoCodec { h264, hevc, prores422, prores4444 };

/// For each of the six enumerations: the stored name, the French label, the case that a stored name means, all cases.
template <class Enum>
std::string_view storedName(Enum value);
template <class Enum>
std::string label(Enum value);
template <class Enum>
std::optional<Enum> optionStoredAs(std::string_view stored);
template <class Enum>
std::vector<Enum> allOptions();

/// The settings that accompany a conversion.
struct ConversionOptions {
    double quality = 0.85; // 0…1, for lossy image encoders
    MetadataPolicy metadata = MetadataPolicy::keep;
    ColorProfilePolicy colorProfile = ColorProfilePolicy::preserve;
    std::optional<std::int64_t> maxPixelDimension; // longest side in pixels; absent keeps the size
    FlattenBackground flattenBackground = FlattenBackground::white;
    double renderDPI = 150.0; // dots per inch for pages and vector content
    PageBackground pageBackground = PageBackground::white;
    bool removeBackground = false;
    std::optional<std::int64_t> maxFileBytes; // target size of the output
    VideoQuality videoQuality = VideoQuality::original;
    VideoCodec videoCodec = VideoCodec::h264;
    std::int64_t audioBitRate = 256'000; // bits per second, AAC

    bool operator==(const ConversionOptions&) const = default;
};

/// The kinds of options that an edge may honour.
enum class ConversionOptionKind {
    quality,
    metadata,
    colorProfile,
    dimensions,
    background,
    renderResolution,
    removeBackground,
    targetSize,
    videoQuality,
    audioQuality,
};

std::string_view storedName(ConversionOptionKind kind);
std::optional<ConversionOptionKind> optionKindStoredAs(std::string_view stored);

/// A set of option kinds, iterable in case order.
class ConversionOptionKinds {
public:
    constexpr ConversionOptionKinds() = default;
    constexpr ConversionOptionKinds(std::initializer_list<ConversionOptionKind> kinds)
    {
        for (const ConversionOptionKind kind : kinds)
            insert(kind);
    }

    constexpr bool contains(ConversionOptionKind kind) const { return (bits_ & bit(kind)) != 0; }
    constexpr void insert(ConversionOptionKind kind) { bits_ |= bit(kind); }
    constexpr ConversionOptionKinds& operator|=(ConversionOptionKinds other)
    {
        bits_ |= other.bits_;
        return *this;
    }
    constexpr bool isEmpty() const { return bits_ == 0; }
    std::vector<ConversionOptionKind> list() const;

    constexpr bool operator==(const ConversionOptionKinds&) const = default;

private:
    static constexpr std::uint32_t bit(ConversionOptionKind kind) { return 1u << static_cast<unsigned>(kind); }

    std::uint32_t bits_ = 0;
};

/// Where the outputs of a conversion go.
struct SameFolderAsSource {
    bool operator==(const SameFolderAsSource&) const = default;
};
struct DestinationFolder {
    std::filesystem::path location;

    bool operator==(const DestinationFolder&) const = default;
};
using OutputDestination = std::variant<SameFolderAsSource, DestinationFolder>;

JsonValue toJson(const ConversionOptions& options);
/// Absent members take their defaults. Throws JsonError for wrong types and unknown names.
ConversionOptions conversionOptionsFromJson(const JsonValue& json);
JsonValue toJson(const OutputDestination& destination);
/// Throws JsonError; for an object with no or several keys it says "Invalid number of keys found, expected one."
OutputDestination outputDestinationFromJson(const JsonValue& json);

} // namespace nivex
