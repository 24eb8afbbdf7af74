#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Contract/OptionRanges.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <bitset>
#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace nivex {

/// In what the number of a setting counts.
enum class SettingUnit { none, share, pixels, dotsPerInch, bytes, bitsPerSecond };

namespace settings {

template <class Field>
struct Present {
    using Value = Field;
};
template <class Field>
struct Present<std::optional<Field>> {
    using Value = Field;
};

} // namespace settings

/// One setting of a conversion: all that files, the command line and recipes need to know of it.
template <class FieldType>
struct ConversionSetting {
    using Field = FieldType;
    using Value = typename settings::Present<Field>::Value; // what a person gives; the field may also be absent

    Field ConversionOptions::*field;
    std::string_view stored;   // its member in JSON
    std::string_view typed;    // its option on the command line, without the dashes
    ConversionOptionKind kind; // what an edge must honour for the setting to have an effect
    Text description;
    SettingUnit unit = SettingUnit::none;
    std::optional<OptionRange<Value>> range = {};
};

/// The settings of a conversion, in the order of their fields. A new one is a field, its row here and, where recipes
/// may hold it, a block.
// clang-format off
inline constexpr std::tuple conversionSettings{
    ConversionSetting<double>{
        &ConversionOptions::quality, "quality", "quality", ConversionOptionKind::quality,
        "Qualité des images avec perte"_fr, SettingUnit::share,
        OptionRange<double>{0, 1, "Qualité invalide."_fr}},
    ConversionSetting<MetadataPolicy>{
        &ConversionOptions::metadata, "metadata", "metadata", ConversionOptionKind::metadata,
        "Métadonnées"_fr},
    ConversionSetting<ColorProfilePolicy>{
        &ConversionOptions::colorProfile, "colorProfile", "color-profile", ConversionOptionKind::colorProfile,
        "Profil colorimétrique"_fr},
    ConversionSetting<std::optional<std::int64_t>>{
        &ConversionOptions::maxPixelDimension, "maxPixelDimension", "max-dimension", ConversionOptionKind::dimensions,
        "Grand côté maximal, en pixels"_fr, SettingUnit::pixels,
        OptionRange<std::int64_t>{16, 16'384, "La taille doit être comprise entre 16 et 16 384 px."_fr}},
    ConversionSetting<FlattenBackground>{
        &ConversionOptions::flattenBackground, "flattenBackground", "flatten-background", ConversionOptionKind::background,
        "Fond des images opaques"_fr},
    ConversionSetting<double>{
        &ConversionOptions::renderDPI, "renderDPI", "dpi", ConversionOptionKind::renderResolution,
        "Résolution de rendu des pages, en points par pouce"_fr, SettingUnit::dotsPerInch,
        OptionRange<double>{36, 600, "La résolution doit être comprise entre 36 et 600 ppp."_fr}},
    ConversionSetting<PageBackground>{
        &ConversionOptions::pageBackground, "pageBackground", "page-background", ConversionOptionKind::background,
        "Fond des pages"_fr},
    ConversionSetting<bool>{
        &ConversionOptions::removeBackground, "removeBackground", "remove-background", ConversionOptionKind::removeBackground,
        "Détoure le sujet"_fr},
    ConversionSetting<std::optional<std::int64_t>>{
        &ConversionOptions::maxFileBytes, "maxFileBytes", "max-size", ConversionOptionKind::targetSize,
        "Poids cible, par exemple 500KB ou 2MB"_fr, SettingUnit::bytes,
        OptionRange<std::int64_t>{10'000, 1'000'000'000, "Le poids cible doit être compris entre 10 Ko et 1 Go."_fr}},
    ConversionSetting<VideoQuality>{
        &ConversionOptions::videoQuality, "videoQuality", "video-quality", ConversionOptionKind::videoQuality,
        "Définition vidéo"_fr},
    ConversionSetting<VideoCodec>{
        &ConversionOptions::videoCodec, "videoCodec", "video-codec", ConversionOptionKind::videoQuality,
        "Codec vidéo"_fr},
    ConversionSetting<std::int64_t>{
        &ConversionOptions::audioBitRate, "audioBitRate", "audio-bit-rate", ConversionOptionKind::audioQuality,
        "Débit du son, en bits par seconde"_fr, SettingUnit::bitsPerSecond,
        OptionRange<std::int64_t>{32'000, 320'000, "Le débit AAC doit être compris entre 32 et 320 kbit/s."_fr}},
};
// clang-format on

inline constexpr std::size_t settingCount = std::tuple_size_v<decltype(conversionSettings)>;

/// Calls `visit(setting)` with every row of the table.
template <class Visit>
constexpr void forEachSetting(Visit&& visit)
{
    std::apply([&](const auto&... setting) { (visit(setting), ...); }, conversionSettings);
}

/// The place of a setting in the table.
template <class Field>
constexpr std::size_t settingIndex(Field ConversionOptions::*field)
{
    std::size_t index = 0;
    std::size_t found = settingCount;
    forEachSetting([&](const auto& setting) {
        if constexpr (std::is_same_v<decltype(setting.field), Field ConversionOptions::*>)
            if (setting.field == field)
                found = index;
        ++index;
    });
    return found;
}

/// The row of a field, as in `settingOf<&ConversionOptions::quality>()`.
template <auto field>
constexpr const auto& settingOf()
{
    return std::get<settingIndex(field)>(conversionSettings);
}

/// What a person gives for a field.
template <auto field>
using SettingValue = typename std::remove_cvref_t<decltype(settingOf<field>())>::Value;

/// Some settings with their values, to stand above others that somebody else has chosen.
class OptionOverrides {
public:
    template <class Field, class Value>
    void set(Field ConversionOptions::*field, Value&& value)
    {
        values_.*field = std::forward<Value>(value);
        given_.set(settingIndex(field));
    }

    template <class Field>
    bool has(Field ConversionOptions::*field) const
    {
        return given_.test(settingIndex(field));
    }
    bool isEmpty() const { return given_.none(); }

    /// The values of the settings that are given; the others are the defaults.
    const ConversionOptions& values() const { return values_; }

    /// Calls `visit(setting)` for each setting that is given.
    template <class Visit>
    void forEachGiven(Visit&& visit) const
    {
        forEachSetting([&](const auto& setting) {
            if (has(setting.field))
                visit(setting);
        });
    }

    ConversionOptions appliedTo(ConversionOptions base) const;
    /// These, and `above` on top of them.
    OptionOverrides under(const OptionOverrides& above) const;

    bool operator==(const OptionOverrides&) const = default;

private:
    ConversionOptions values_;
    std::bitset<settingCount> given_;
};

} // namespace nivex
