#include "NIVEX/Model/Preferences.hpp"

#include "NivexKit/Contract/OptionRanges.hpp"
#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {
namespace {

constexpr std::size_t maxFileBytes = 1024 * 1024;

struct SandboxRow {
    IncompleteSandbox value;
    std::string_view stored;
};
constexpr SandboxRow sandboxChoices[] = {
    {IncompleteSandbox::refuse, "refuse"},
    {IncompleteSandbox::proceed, "proceed"},
};
static_assert(inCaseOrder(sandboxChoices, IncompleteSandbox::proceed));

/// The members of a preferences file; none when it is no JSON object.
std::optional<JsonObject> membersOf(std::string_view text)
{
    try {
        const JsonValue json = parseJson(text);
        return json.object() ? std::optional{*json.object()} : std::nullopt;
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

/// The members that are options, each judged alone: one bad value does not take the others with it.
ConversionOptions readOptions(const JsonValue* json)
{
    JsonObject sound;
    if (json && json->object()) {
        for (const JsonObject::Member& member : json->object()->members()) {
            try {
                if (!rangeViolation(conversionOptionsFromJson(JsonObject{member})))
                    sound.set(member.first, member.second);
            } catch (const JsonError&) {
                continue;
            }
        }
    }
    return conversionOptionsFromJson(sound);
}

OutputDestination readDestination(const JsonValue* json)
{
    try {
        if (json)
            return outputDestinationFromJson(*json);
    } catch (const JsonError&) {
        return SameFolderAsSource{};
    }
    return SameFolderAsSource{};
}

template <class Enum>
void readCase(Enum& value, const JsonValue* json, std::optional<Enum> (*storedAs)(std::string_view))
{
    if (json && json->string())
        value = storedAs(*json->string()).value_or(value);
}

std::optional<int> readJobs(const JsonValue* json)
{
    const auto jobs = json ? json->integer() : nullptr;
    return jobs && *jobs >= 1 && *jobs <= Preferences::maxJobs ? std::optional{static_cast<int>(*jobs)} : std::nullopt;
}

Preferences preferencesFrom(const JsonObject& members)
{
    Preferences preferences;
    preferences.options = readOptions(members.find("options"));
    preferences.destination = readDestination(members.find("destination"));
    readCase(preferences.retention, members.find("retention"), &retentionStoredAs);
    readCase(preferences.language, members.find("language"), &languageStoredAs);
    readCase(preferences.incompleteSandbox, members.find("incompleteSandbox"), &incompleteSandboxStoredAs);
    preferences.jobs = readJobs(members.find("jobs"));
    return preferences;
}

void writeInto(JsonObject& members, const Preferences& preferences)
{
    members.set("options", toJson(preferences.options));
    members.set("destination", toJson(preferences.destination));
    members.set("retention", storedName(preferences.retention));
    members.set("language", storedName(preferences.language));
    members.set("incompleteSandbox", storedName(preferences.incompleteSandbox));
    members.set("jobs", preferences.jobs);
}

} // namespace

std::string_view storedName(IncompleteSandbox choice) { return rowOf(sandboxChoices, choice).stored; }

std::optional<IncompleteSandbox> incompleteSandboxStoredAs(std::string_view stored)
{
    return caseStoredAs(sandboxChoices, stored);
}

Language Preferences::shownLanguage(const Environment& environment) const
{
    const auto wanted = environment("NIVEX_LANG");
    return wanted ? languageStoredAs(*wanted).value_or(language) : language;
}

std::filesystem::path PreferencesFile::defaultLocation(const Environment& environment)
{
    return UserFolders::of(environment).configuration / "Preferences.json";
}

Preferences PreferencesFile::load()
{
    std::error_code ignored;
    const auto text = file_.read(maxFileBytes, ignored);
    return preferencesFrom(text ? membersOf(*text).value_or(JsonObject{}) : JsonObject{});
}

std::error_code PreferencesFile::update(const std::function<void(Preferences&)>& change)
{
    std::error_code failure;
    const auto lock = file_.lock(failure);
    if (!lock)
        return failure;
    const auto text = file_.read(maxFileBytes, failure);
    if (failure && failure != std::errc::file_too_large)
        return failure;
    auto members = text ? membersOf(*text) : std::nullopt;
    if (const bool isDamaged = (text && !members) || failure; isDamaged)
        if (const std::error_code kept = file_.setAside(*lock))
            return kept;
    JsonObject written = members.value_or(JsonObject{});
    Preferences preferences = preferencesFrom(written);
    change(preferences);
    writeInto(written, preferences);
    return file_.replace(*lock, writeJson(written, JsonStyle::prettySorted) + "\n");
}

} // namespace nivex
