#include "NivexKit/Contract/OptionRanges.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"

namespace nivex {

std::optional<Text> rangeViolation(const ConversionOptions& options)
{
    std::optional<Text> violation;
    forEachSetting([&](const auto& setting) {
        using Setting = std::remove_cvref_t<decltype(setting)>;
        const std::optional<typename Setting::Value> value = options.*setting.field;
        if (!violation && value && setting.range && !setting.range->contains(*value))
            violation = setting.range->whenOutside;
    });
    return violation;
}

} // namespace nivex
