#include "NivexKit/Contract/ConversionOptions.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {
namespace {

// clang-format off
constexpr EnumRow<MetadataPolicy> metadataPolicies[] = {
    {MetadataPolicy::keep,           "keep",           "Conserver"_fr},
    {MetadataPolicy::removeLocation, "removeLocation", "Retirer la localisation"_fr},
    {MetadataPolicy::removeAll,      "removeAll",      "Tout retirer"_fr},
};
constexpr EnumRow<ColorProfilePolicy> colorProfilePolicies[] = {
    {ColorProfilePolicy::preserve,  "preserve",  "Conserver"_fr},
    {ColorProfilePolicy::sRGB,      "sRGB",      "sRGB"_fr},
    {ColorProfilePolicy::displayP3, "displayP3", "Display P3"_fr},
    {ColorProfilePolicy::cmyk,      "cmyk",      "CMJN (impression)"_fr},
};
constexpr EnumRow<FlattenBackground> flattenBackgrounds[] = {
    {FlattenBackground::white, "white", "Blanc"_fr},
    {FlattenBackground::black, "black", "Noir"_fr},
};
constexpr EnumRow<PageBackground> pageBackgrounds[] = {
    {PageBackground::white,       "white",       "Blanc"_fr},
    {PageBackground::transparent, "transparent", "Transparent"_fr},
};
constexpr EnumRow<VideoQuality> videoQualities[] = {
    {VideoQuality::original, "original", "Originale"_fr},
    {VideoQuality::p1080,    "p1080",    "1080p"_fr},
    {VideoQuality::p720,     "p720",     "720p"_fr},
    {VideoQuality::p480,     "p480",     "480p"_fr},
};
constexpr EnumRow<VideoCodec> videoCodecs[] = {
    {VideoCodec::h264,       "h264",       "H.264 (compatible partout)"_fr},
    {VideoCodec::hevc,       "hevc",       "HEVC (plus léger)"_fr},
    {VideoCodec::prores422,  "prores422",  "Apple ProRes 422 (montage)"_fr},
    {VideoCodec::prores4444, "prores4444", "Apple ProRes 4444 (montage, transparence)"_fr},
};
// clang-format on
static_assert(inCaseOrder(metadataPolicies, MetadataPolicy::removeAll));
static_assert(inCaseOrder(colorProfilePolicies, ColorProfilePolicy::cmyk));
static_assert(inCaseOrder(flattenBackgrounds, FlattenBackground::black));
static_assert(inCaseOrder(pageBackgrounds, PageBackground::transparent));
static_assert(inCaseOrder(videoQualities, VideoQuality::p480));
static_assert(inCaseOrder(videoCodecs, VideoCodec::prores4444));

constexpr const auto& rows(MetadataPolicy) { return metadataPolicies; }
constexpr const auto& rows(ColorProfilePolicy) { return colorProfilePolicies; }
constexpr const auto& rows(FlattenBackground) { return flattenBackgrounds; }
constexpr const auto& rows(PageBackground) { return pageBackgrounds; }
constexpr const auto& rows(VideoQuality) { return videoQualities; }
constexpr const auto& rows(VideoCodec) { return videoCodecs; }

struct KindRow {
    ConversionOptionKind value;
    std::string_view stored;
};

using Kind = ConversionOptionKind;
constexpr KindRow optionKinds[] = {
    {Kind::quality, "quality"},
    {Kind::metadata, "metadata"},
    {Kind::colorProfile, "colorProfile"},
    {Kind::dimensions, "dimensions"},
    {Kind::background, "background"},
    {Kind::renderResolution, "renderResolution"},
    {Kind::removeBackground, "removeBackground"},
    {Kind::targetSize, "targetSize"},
    {Kind::videoQuality, "videoQuality"},
    {Kind::audioQuality, "audioQuality"},
};
static_assert(inCaseOrder(optionKinds, Kind::audioQuality));

[[noreturn]] void refuse(std::string_view member)
{
    throw JsonError{"conversion options: unexpected value of " + std::string{member}};
}

void readInto(double& field, const JsonValue& json, std::string_view member)
{
    const std::optional<double> number = json.number();
    if (!number)
        refuse(member);
    field = *number;
}

void readInto(std::int64_t& field, const JsonValue& json, std::string_view member)
{
    if (!json.integer())
        refuse(member);
    field = *json.integer();
}

void readInto(bool& field, const JsonValue& json, std::string_view member)
{
    if (!json.boolean())
        refuse(member);
    field = *json.boolean();
}

void readInto(std::optional<std::int64_t>& field, const JsonValue& json, std::string_view member)
{
    field.reset();
    if (!json.isNull())
        readInto(field.emplace(), json, member);
}

template <class Enum>
requires std::is_enum_v<Enum>
void readInto(Enum& field, const JsonValue& json, std::string_view member)
{
    const auto value = json.string() ? optionStoredAs<Enum>(*json.string()) : std::nullopt;
    if (!value)
        refuse(member);
    field = *value;
}

template <class Value>
JsonValue fieldToJson(const Value& value)
{
    if constexpr (std::is_enum_v<Value>)
        return storedName(value);
    else
        return value;
}

} // namespace

template <class Enum>
std::string_view storedName(Enum value)
{
    return rowOf(rows(value), value).stored;
}

template <class Enum>
std::string label(Enum value)
{
    return rowOf(rows(value), value).label;
}

template <class Enum>
std::optional<Enum> optionStoredAs(std::string_view stored)
{
    return caseStoredAs(rows(Enum{}), stored);
}

template <class Enum>
std::vector<Enum> allOptions()
{
    std::vector<Enum> result;
    for (const EnumRow<Enum>& row : rows(Enum{}))
        result.push_back(row.value);
    return result;
}

#define NIVEX_OPTION_ENUM(Enum)                                                                                        \
    template std::string_view storedName(Enum);                                                                        \
    template std::string label(Enum);                                                                                  \
    template std::optional<Enum> optionStoredAs<Enum>(std::string_view);                                               \
    template std::vector<Enum> allOptions<Enum>();
NIVEX_OPTION_ENUM(MetadataPolicy)
NIVEX_OPTION_ENUM(ColorProfilePolicy)
NIVEX_OPTION_ENUM(FlattenBackground)
NIVEX_OPTION_ENUM(PageBackground)
NIVEX_OPTION_ENUM(VideoQuality)
NIVEX_OPTION_ENUM(VideoCodec)
#undef NIVEX_OPTION_ENUM

std::string_view storedName(ConversionOptionKind kind) { return rowOf(optionKinds, kind).stored; }

std::optional<ConversionOptionKind> optionKindStoredAs(std::string_view stored)
{
    return caseStoredAs(optionKinds, stored);
}

std::vector<ConversionOptionKind> ConversionOptionKinds::list() const
{
    std::vector<ConversionOptionKind> result;
    for (const KindRow& row : optionKinds)
        if (contains(row.value))
            result.push_back(row.value);
    return result;
}

JsonValue toJson(const ConversionOptions& options)
{
    JsonObject json;
    forEachSetting([&](const auto& setting) {
        if (JsonValue value = fieldToJson(options.*setting.field); !value.isNull())
            json.set(setting.stored, std::move(value));
    });
    return json;
}

ConversionOptions conversionOptionsFromJson(const JsonValue& json)
{
    const JsonObject* object = json.object();
    if (!object)
        throw JsonError{"conversion options: not an object"};
    ConversionOptions options;
    forEachSetting([&](const auto& setting) {
        if (const JsonValue* value = object->find(setting.stored))
            readInto(options.*setting.field, *value, setting.stored);
    });
    return options;
}

} // namespace nivex
