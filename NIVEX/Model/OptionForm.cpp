#include "NIVEX/Model/OptionForm.hpp"

#include "NivexKit/Contract/OptionCombinations.hpp"
#include "NivexKit/Recipes/RecipeStep.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

namespace nivex {
namespace {

/// How a number is shown: it times `factor`, and the unit behind it.
struct ShownUnit {
    SettingUnit unit;
    double factor;
    Text text;
};

// clang-format off
constexpr ShownUnit shownUnits[] = {
    {SettingUnit::share,         100,   " %"_fr},
    {SettingUnit::pixels,        1,     " px"_fr},
    {SettingUnit::dotsPerInch,   1,     " ppp"_fr},
    {SettingUnit::bytes,         0.001, " ko"_fr},
    {SettingUnit::bitsPerSecond, 0.001, " kbit/s"_fr},
};
// clang-format on

const ShownUnit& shownUnit(SettingUnit unit) { return *std::ranges::find(shownUnits, unit, &ShownUnit::unit); }

/// The number in a control that a person turns on where there was none.
template <class Value>
Value suggested(const ConversionSetting<std::optional<Value>>& setting)
{
    switch (setting.unit) {
    case SettingUnit::pixels:
        return 2'048;
    case SettingUnit::bytes:
        return 2'000'000;
    default:
        return setting.range->lowest;
    }
}

template <class Number>
NumberControl numberControl(const OptionRange<Number>& range, Number value, SettingUnit unit)
{
    const ShownUnit& shown = shownUnit(unit);
    return {.low = std::ceil(static_cast<double>(range.lowest) * shown.factor),
            .high = std::floor(static_cast<double>(range.highest) * shown.factor),
            .value = std::round(static_cast<double>(value) * shown.factor),
            .unit = shown.text};
}

ValueControl controlOf(const ConversionSetting<double>& setting, double value, const FileFormat&)
{
    return numberControl(*setting.range, value, setting.unit);
}

ValueControl controlOf(const ConversionSetting<std::int64_t>& setting, std::int64_t value, const FileFormat&)
{
    return numberControl(*setting.range, value, setting.unit);
}

ValueControl controlOf(const ConversionSetting<std::optional<std::int64_t>>& setting, std::optional<std::int64_t> value,
                       const FileFormat&)
{
    NumberControl control = numberControl(*setting.range, value.value_or(suggested(setting)), setting.unit);
    control.isOptional = true;
    control.isSet = value.has_value();
    return control;
}

ValueControl controlOf(const ConversionSetting<bool>&, bool value, const FileFormat&) { return SwitchControl{value}; }

template <class Enum>
ValueControl controlOf(const ConversionSetting<Enum>& setting, Enum value, const FileFormat& target)
{
    ChoiceControl control;
    for (const Enum each : allOptions<Enum>()) {
        ConversionOptions alone;
        alone.*setting.field = each;
        if (!settingsNotTaken(alone, target).empty())
            continue;
        if (each == value)
            control.current = control.labels.size();
        control.labels.push_back(label(each));
        control.cases.push_back(static_cast<std::size_t>(each));
    }
    return control;
}

template <class Value>
void readControl(const NumberControl& control, SettingUnit unit, Value& value)
{
    const double number = std::clamp(control.value, control.low, control.high) / shownUnit(unit).factor;
    if constexpr (std::is_integral_v<Value>)
        value = std::llround(number);
    else
        value = number;
}

template <class Field>
Field valueOf(const ConversionSetting<Field>& setting, const ValueControl& control)
{
    Field value{};
    if constexpr (std::is_same_v<Field, bool>) {
        value = std::get<SwitchControl>(control).isOn;
    } else if constexpr (std::is_enum_v<Field>) {
        const ChoiceControl& choice = std::get<ChoiceControl>(control);
        value = static_cast<Field>(choice.cases.at(choice.current));
    } else if constexpr (std::is_arithmetic_v<Field>) {
        readControl(std::get<NumberControl>(control), setting.unit, value);
    } else if (const NumberControl& number = std::get<NumberControl>(control); number.isSet) {
        readControl(number, setting.unit, value.emplace());
    }
    return value;
}

/// Pages have a background of their own; a picture has none.
bool isShown(std::size_t setting, ConversionOptionKinds honoured)
{
    return setting != settingIndex(&ConversionOptions::pageBackground) ||
           honoured.contains(ConversionOptionKind::renderResolution);
}

/// The block of a recipe that sets a field has the name under which people know it.
template <std::size_t... index>
RecipeBlockKind blockOf(std::size_t setting, std::index_sequence<index...>)
{
    RecipeBlockKind kind = RecipeBlockKind::convert;
    const auto look = [&]<class Block>(std::type_identity<Block>) {
        if constexpr (SetsAnOption<Block>)
            if (settingIndex(Block::field) == setting)
                kind = Block::kind;
    };
    (look(std::type_identity<std::variant_alternative_t<index, RecipeStep>>{}), ...);
    return kind;
}

} // namespace

std::vector<OptionControl> optionControls(ConversionOptionKinds honoured, const FileFormat& target,
                                          const ConversionOptions& shown)
{
    std::vector<OptionControl> controls;
    std::size_t index = 0;
    forEachSetting([&](const auto& setting) {
        const std::size_t place = index++;
        if (!honoured.contains(setting.kind) || !isShown(place, honoured))
            return;
        ValueControl value = controlOf(setting, shown.*setting.field, target);
        if (const auto* choice = std::get_if<ChoiceControl>(&value); choice && choice->labels.size() < 2)
            return; // nothing to choose
        const RecipeBlockKind block = blockOf(place, std::make_index_sequence<std::variant_size_v<RecipeStep>>{});
        controls.push_back({place, title(block), detail(block), std::move(value)});
    });
    return controls;
}

void apply(const OptionControl& control, OptionOverrides& settings)
{
    std::size_t index = 0;
    forEachSetting([&](const auto& setting) {
        if (index++ == control.setting)
            settings.set(setting.field, valueOf(setting, control.value));
    });
}

OptionOverrides honouredOf(const OptionOverrides& settings, ConversionOptionKinds honoured)
{
    OptionOverrides result;
    settings.forEachGiven([&](const auto& setting) {
        if (honoured.contains(setting.kind))
            result.set(setting.field, settings.values().*setting.field);
    });
    return result;
}

OptionOverrides initialSettings(const TargetOffer& offer, const OptionOverrides& remembered,
                                std::span<const SharedDetection> files)
{
    OptionOverrides settings = honouredOf(remembered, offer.options);
    if (offer.purpose != OfferPurpose::lighten || settings.has(&ConversionOptions::maxFileBytes))
        return settings;
    std::int64_t largest = 0;
    for (const SharedDetection& file : files)
        largest = std::max(largest, file->fileSize);
    const auto& range = *settingOf<&ConversionOptions::maxFileBytes>().range;
    settings.set(&ConversionOptions::maxFileBytes, std::clamp(largest / 2, range.lowest, range.highest));
    return settings;
}

} // namespace nivex
