#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// Tests a file against each condition block; the other kinds accept every file.
struct Condition {
    const DetectionResult& file;
    std::string_view locale;

    bool operator()(const step::SourceFamily& block) const { return file.format && file.format->belongs(block.value); }
    bool operator()(const step::SourceFormat& block) const { return file.format && file.format->id == block.value; }
    bool operator()(const step::NameContains& block) const
    {
        return containsIgnoringCase(shownPath(file.fileName()), block.value, locale);
    }
    bool operator()(const step::InputSizeLimit& block) const { return file.fileSize <= block.value; }
    template <class Other>
    bool operator()(const Other&) const
    {
        return true;
    }
};

} // namespace

ConversionRecipe ConversionRecipe::make(std::string name, std::vector<Step> steps)
{
    return {.id = Uuid::random(), .version = currentVersion, .name = std::move(name), .steps = std::move(steps)};
}

std::optional<FormatID> ConversionRecipe::target() const
{
    for (const Step& each : steps)
        if (const auto* convert = std::get_if<step::Convert>(&each))
            return convert->value;
    return std::nullopt;
}

ConversionOptions ConversionRecipe::options(const ConversionOptions& base) const
{
    validated();
    return settings().appliedTo(startsAfresh() ? ConversionOptions{} : base);
}

bool ConversionRecipe::startsAfresh() const
{
    return std::ranges::any_of(steps,
                               [](const Step& each) { return std::holds_alternative<step::ResetDefaults>(each); });
}

OptionOverrides ConversionRecipe::settings() const
{
    OptionOverrides settings;
    for (const Step& each : steps)
        std::visit(
            [&]<class Block>(const Block& block) {
                if constexpr (SetsAnOption<Block>)
                    settings.set(Block::field, block.value);
            },
            each);
    return settings;
}

bool ConversionRecipe::accepts(const DetectionResult& file, std::string_view locale) const
{
    return std::ranges::all_of(steps, [&](const Step& each) { return std::visit(Condition{file, locale}, each); });
}

} // namespace nivex
