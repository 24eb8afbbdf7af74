#include "NIVEX/Model/DesktopState.hpp"

#include "NivexKit/Contract/OptionRanges.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {
namespace {

constexpr std::size_t maxFileBytes = 1024 * 1024;

struct FlagRow {
    std::string_view stored;
    bool DesktopState::*flag;
};

// clang-format off
constexpr FlagRow flags[] = {
    {"keepsDate",       &DesktopState::keepsDate},
    {"notifies",        &DesktopState::notifies},
    {"floatsSphere",    &DesktopState::floatsSphere},
    {"hasSeenTutorial", &DesktopState::hasSeenTutorial},
};
// clang-format on

JsonObject toJson(const OptionOverrides& settings)
{
    const JsonValue all = nivex::toJson(settings.values());
    JsonObject given;
    settings.forEachGiven([&](const auto& setting) {
        const JsonValue* value = all.object()->find(setting.stored);
        given.set(setting.stored, value ? *value : JsonValue{});
    });
    return given;
}

/// Each setting is judged alone: one bad value does not take the others with it.
OptionOverrides settingsFrom(const JsonObject& members)
{
    OptionOverrides settings;
    forEachSetting([&](const auto& setting) {
        const JsonValue* value = members.find(setting.stored);
        if (!value)
            return;
        try {
            const ConversionOptions read = conversionOptionsFromJson(JsonObject{{std::string{setting.stored}, *value}});
            if (!rangeViolation(read))
                settings.set(setting.field, read.*setting.field);
        } catch (const JsonError&) {
            return;
        }
    });
    return settings;
}

DesktopState stateFrom(const JsonObject& members)
{
    DesktopState state;
    if (const JsonValue* geometry = members.find("windowGeometry"); geometry && geometry->string())
        state.windowGeometry = *geometry->string();
    for (const FlagRow& row : flags)
        if (const JsonValue* flag = members.find(row.stored); flag && flag->boolean())
            state.*row.flag = *flag->boolean();
    if (const JsonValue* settings = members.find("settings"); settings && settings->object())
        for (const auto& [key, value] : settings->object()->members())
            if (value.object())
                state.settings[key] = settingsFrom(*value.object());
    return state;
}

} // namespace

std::string DesktopState::keyOf(const OfferID& offer)
{
    switch (offer.purpose) {
    case OfferPurpose::convert:
        return offer.target.rawValue;
    case OfferPurpose::lighten:
        return "lighten " + offer.target.rawValue;
    case OfferPurpose::combine:
        return "combine " + offer.target.rawValue;
    }
    return {};
}

std::filesystem::path DesktopStateFile::defaultLocation(const Environment& environment)
{
    return UserFolders::of(environment).configuration / "Desktop.json";
}

DesktopState DesktopStateFile::load()
{
    std::error_code ignored;
    const auto text = file_.read(maxFileBytes, ignored);
    try {
        const JsonValue json = parseJson(text.value_or("{}"));
        return json.object() ? stateFrom(*json.object()) : DesktopState{};
    } catch (const JsonError&) {
        return {};
    }
}

std::error_code DesktopStateFile::save(const DesktopState& state)
{
    JsonObject members{{"windowGeometry", state.windowGeometry}};
    for (const FlagRow& row : flags)
        members.set(row.stored, state.*row.flag);
    JsonObject settings;
    for (const auto& [key, each] : state.settings)
        settings.set(key, toJson(each));
    members.set("settings", std::move(settings));
    std::error_code failure;
    const auto lock = file_.lock(failure);
    return lock ? file_.replace(*lock, writeJson(members, JsonStyle::prettySorted) + "\n") : failure;
}

} // namespace nivex
