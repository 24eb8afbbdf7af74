#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

namespace nivex {
namespace {

constexpr std::size_t maxTextCharacters = 80;
constexpr std::size_t maxBlocks = std::variant_size_v<RecipeStep>;

constexpr OptionRange<std::int64_t> inputSizes{1, 10'000'000'000,
                                               "La limite d’entrée doit être comprise entre 1 octet et 10 Go."_fr};

void require(bool holds, Text otherwise)
{
    if (!holds)
        throw RecipeError::invalid(otherwise);
}

template <class Number>
void requireInside(const OptionRange<Number>& range, Number value)
{
    require(range.contains(value), range.whenOutside);
}

bool hasControlCharacter(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();)
        if (isControl(nextScalar(text, position)))
            return true;
    return false;
}

/// A text that a person typed and can read again: not blank, at most 80 characters, none of them invisible.
bool isShortPrintableText(std::string_view text)
{
    return isValidUtf8(text) && !trimmed(text).empty() && !hasControlCharacter(text) &&
           characterCount(text) <= maxTextCharacters;
}

void requireKnown(const FormatID& format, Text otherwise)
{
    require(FormatRegistry::standard().format(format) != nullptr, otherwise);
}

/// Checks the value of one block; kinds without a rule or range accept every value of their type.
struct ValueRule {
    void operator()(const step::Convert& block) const { requireKnown(block.value, "Format inconnu."_fr); }
    void operator()(const step::SourceFormat& block) const { requireKnown(block.value, "Format source inconnu."_fr); }
    void operator()(const step::NameContains& block) const
    {
        require(isShortPrintableText(block.value),
                "Le filtre de nom doit contenir entre 1 et 80 caractères imprimables."_fr);
    }
    void operator()(const step::InputSizeLimit& block) const { requireInside(inputSizes, block.value); }
    template <class Other>
    void operator()(const Other& block) const
    {
        if constexpr (SetsAnOption<Other>)
            if (const auto& range = settingOf<Other::field>().range)
                requireInside(*range, block.value);
    }
};

} // namespace

ConversionRecipe ConversionRecipe::validated() const
{
    require(readsVersion(version), "Cette version du raccourci n’est pas prise en charge."_fr);
    require(isShortPrintableText(name) && !steps.empty() && steps.size() <= maxBlocks,
            "Nom ou nombre de blocs invalide."_fr);
    bool seen[maxBlocks] = {};
    for (const Step& each : steps) {
        std::visit(ValueRule{}, each);
        require(!seen[each.index()], "Un même bloc ne peut apparaître qu’une fois."_fr);
        seen[each.index()] = true;
    }
    require(target().has_value(), "Ajoutez un bloc de conversion."_fr);
    return *this;
}

} // namespace nivex
