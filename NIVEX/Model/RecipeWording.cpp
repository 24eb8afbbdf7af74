#include "NIVEX/Model/RecipeWording.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstdio>

namespace nivex {
namespace {

/// What a block holds, as a person reads it.
struct ShownValue {
    template <RecipeBlockKind kind, class Value, auto field>
    std::string operator()(const RecipeBlock<kind, Value, field>& block) const
    {
        if constexpr (kind == RecipeBlockKind::inputSizeLimit)
            return shownByteCount(block.value);
        else if constexpr (SetsAnOption<RecipeBlock<kind, Value, field>> && std::is_arithmetic_v<Value>)
            return withUnit(block.value, settingOf<field>().unit);
        else
            return text(block.value);
    }

    template <class Number>
    static std::string withUnit(Number number, SettingUnit unit)
    {
        switch (unit) {
        case SettingUnit::none:
            return text(number);
        case SettingUnit::share:
            return filled("{} %"_fr, {text(static_cast<double>(number) * 100)});
        case SettingUnit::pixels:
            return filled("{} px"_fr, {text(number)});
        case SettingUnit::dotsPerInch:
            return filled("{} ppp"_fr, {text(number)});
        case SettingUnit::bytes:
            return shownByteCount(static_cast<std::int64_t>(number));
        case SettingUnit::bitsPerSecond:
            return filled("{} kbit/s"_fr, {text(static_cast<double>(number) / 1000)});
        }
        return {};
    }

    static std::string text(const FormatID& id) { return id.rawValue; }
    static std::string text(std::int64_t number) { return std::to_string(number); }
    /// Without the tail of zeros or of a fraction that no binary number holds: "85", "0.5".
    static std::string text(double number)
    {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.6g", number);
        return digits;
    }
    static std::string text(bool value) { return value ? "oui"_fr : "non"_fr; }
    static std::string text(const std::string& value) { return value; }
    static std::string text(FormatFamily family) { return displayName(family); }
    static std::string text(std::monostate) { return {}; }
    template <class Option>
    static std::string text(Option option)
    {
        return label(option);
    }
};

} // namespace

std::vector<std::string> describeBlocks(const ConversionRecipe& recipe)
{
    std::vector<std::string> blocks;
    for (const RecipeStep& step : recipe.steps) {
        const std::string value = std::visit(ShownValue{}, step);
        blocks.push_back(title(blockKind(step)) + (value.empty() ? "" : " : " + value));
    }
    return blocks;
}

} // namespace nivex
