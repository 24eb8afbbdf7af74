#include "NivexKit/Formats/FormatFamily.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <cmath>
#include <limits>
#include <type_traits>

namespace nivex {
namespace {

constexpr std::string_view payloadKey = "_0";

template <class Value>
JsonValue toJson(const Value& value)
{
    if constexpr (std::is_enum_v<Value>)
        return storedName(value);
    else if constexpr (std::is_same_v<Value, FormatID>)
        return value.rawValue;
    else
        return value;
}

JsonValue toJson(const RecipeStep& step)
{
    return std::visit(
        []<RecipeBlockKind kind, class Value, auto field>(const RecipeBlock<kind, Value, field>& block)->JsonValue {
            JsonObject payload;
            if constexpr (!std::is_same_v<Value, std::monostate>)
                payload.set(payloadKey, toJson(block.value));
            return JsonObject{{std::string{storedName(kind)}, std::move(payload)}};
        },
        step);
}

/// A whole number, however it is written (2048, 2048.0, 2e3). One that no 64 bits hold becomes the nearest that they
/// do, so that a person reads of the range that it leaves.
std::optional<std::int64_t> wholeNumber(const JsonValue& json)
{
    if (const auto* integer = json.integer())
        return *integer;
    const std::optional<double> number = json.number();
    if (!number || std::trunc(*number) != *number)
        return std::nullopt;
    using Limits = std::numeric_limits<std::int64_t>;
    constexpr double beyond = 9'223'372'036'854'775'808.0;
    if (*number >= beyond)
        return Limits::max();
    return *number < -beyond ? Limits::min() : static_cast<std::int64_t>(*number);
}

template <class Value>
std::optional<Value> fromJson(const JsonValue& json)
{
    if constexpr (std::is_same_v<Value, std::int64_t>)
        return wholeNumber(json);
    else if constexpr (std::is_same_v<Value, double>)
        return json.number();
    else if constexpr (std::is_same_v<Value, bool>)
        return json.boolean() ? std::optional{*json.boolean()} : std::nullopt;
    else if (!json.string())
        return std::nullopt;
    else if constexpr (std::is_same_v<Value, FormatFamily>)
        return familyStoredAs(*json.string());
    else if constexpr (std::is_enum_v<Value>)
        return optionStoredAs<Value>(*json.string());
    else
        return Value{*json.string()};
}

template <class Block>
std::optional<RecipeStep> blockFromJson(const JsonObject& payload)
{
    using Value = decltype(Block::value);
    const JsonValue* json = payload.find(payloadKey);
    if constexpr (std::is_same_v<Value, std::monostate>) {
        return payload.members().empty() ? std::optional<RecipeStep>{Block{}} : std::nullopt;
    } else {
        if (!json || payload.members().size() != 1)
            return std::nullopt;
        auto value = fromJson<Value>(*json);
        return value ? std::optional<RecipeStep>{Block{std::move(*value)}} : std::nullopt;
    }
}

template <std::size_t index = 0>
std::optional<RecipeStep> stepFromJson(RecipeBlockKind kind, const JsonObject& payload)
{
    if constexpr (index < std::variant_size_v<RecipeStep>) {
        if (static_cast<std::size_t>(kind) == index)
            return blockFromJson<std::variant_alternative_t<index, RecipeStep>>(payload);
        return stepFromJson<index + 1>(kind, payload);
    } else {
        return std::nullopt;
    }
}

/// `number` counts the blocks of the file from 1: a person finds the faulty one by it.
RecipeStep stepFromJson(const JsonValue& json, std::size_t number)
{
    const std::string place = std::to_string(number);
    const JsonObject* object = json.object();
    if (!object || object->members().size() != 1)
        throw RecipeError::invalid(filled("Le bloc n° {} du raccourci doit porter un seul nom."_fr, {place}));
    const auto& [name, payload] = object->members().front();
    const std::optional<RecipeBlockKind> kind = blockKindStoredAs(name);
    if (!kind)
        throw RecipeError::invalid(filled("Le bloc n° {} du raccourci porte un nom inconnu."_fr, {place}));
    auto step = payload.object() ? stepFromJson(*kind, *payload.object()) : std::nullopt;
    if (!step)
        throw RecipeError::invalid(
            filled("Le bloc n° {} du raccourci, « {} », porte une valeur inconnue."_fr, {place, title(*kind)}));
    return std::move(*step);
}

RecipeError notARecipe() { return RecipeError::invalid("Ce fichier n’est pas un raccourci NIVEX lisible."_fr); }

JsonValue parsed(std::string_view data)
{
    try {
        return parseJson(data);
    } catch (const JsonError&) {
        throw notARecipe();
    }
}

/// The members of a recipe file; every one must be there, and no other.
struct RecipeMembers {
    Uuid id;
    std::int64_t version;
    const std::string& name;
    const JsonArray& steps;
};

RecipeMembers membersOf(const JsonValue& json)
{
    const JsonObject* object = json.object();
    if (!object || object->members().size() != 4)
        throw notARecipe();
    const JsonValue absent;
    const auto member = [&](std::string_view key) -> const JsonValue& {
        const JsonValue* value = object->find(key);
        return value ? *value : absent;
    };
    const std::string* idText = member("id").string();
    const auto id = idText ? Uuid::parse(*idText) : std::nullopt;
    const auto version = wholeNumber(member("version"));
    const std::string* name = member("name").string();
    const JsonArray* steps = member("steps").array();
    if (!id || !version || !name || !steps)
        throw notARecipe();
    return {*id, *version, *name, *steps};
}

} // namespace

std::string ConversionRecipe::exportData() const
{
    validated();
    JsonArray blocks;
    for (const Step& step : steps)
        blocks.push_back(toJson(step));
    const JsonObject file{{"id", id.text()}, {"version", version}, {"name", name}, {"steps", std::move(blocks)}};
    return writeJson(file, JsonStyle::prettySorted) + "\n";
}

ConversionRecipe ConversionRecipe::importData(std::string_view data)
{
    if (data.size() > maxFileBytes)
        throw RecipeError::invalid("Ce fichier de raccourci est trop volumineux."_fr);
    const JsonValue json = parsed(data);
    const RecipeMembers members = membersOf(json);
    ConversionRecipe recipe{.id = members.id, .version = members.version, .name = members.name, .steps = {}};
    // A later version may well have blocks that we do not know: its number is what a person should read of.
    if (!readsVersion(recipe.version))
        return recipe.validated();
    for (const JsonValue& each : members.steps)
        recipe.steps.push_back(stepFromJson(each, recipe.steps.size() + 1));
    return recipe.validated();
}

} // namespace nivex
