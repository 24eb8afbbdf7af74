#include "NivexKit/Recipes/RecipeStep.hpp"

#include <array>
#include <utility>

namespace nivex {
namespace {

template <std::size_t... index>
constexpr bool inKindOrder(std::index_sequence<index...>)
{
    return ((std::variant_alternative_t<index, RecipeStep>::kind == static_cast<RecipeBlockKind>(index)) && ...);
}
constexpr std::make_index_sequence<std::variant_size_v<RecipeStep>> everyIndex;
static_assert(inKindOrder(everyIndex));

template <class Block>
constexpr std::optional<ConversionOptionKind> requiredBy()
{
    if constexpr (SetsAnOption<Block>)
        return settingOf<Block::field>().kind;
    else
        return std::nullopt;
}

template <std::size_t... index>
constexpr std::array<std::optional<ConversionOptionKind>, sizeof...(index)>
requiredByEach(std::index_sequence<index...>)
{
    return {requiredBy<std::variant_alternative_t<index, RecipeStep>>()...};
}

template <class Block>
void addBlock(const OptionOverrides& overrides, std::vector<RecipeStep>& blocks)
{
    if constexpr (SetsAnOption<Block>)
        if (overrides.has(Block::field))
            // The field may be optional, but one that was set holds a value.
            blocks.push_back(Block{*std::optional<decltype(Block::value)>{overrides.values().*Block::field}});
}

template <std::size_t... index>
std::vector<RecipeStep> addedBlocks(const OptionOverrides& overrides, std::index_sequence<index...>)
{
    std::vector<RecipeStep> blocks;
    (addBlock<std::variant_alternative_t<index, RecipeStep>>(overrides, blocks), ...);
    return blocks;
}

} // namespace

std::optional<ConversionOptionKind> requiredOption(RecipeBlockKind kind)
{
    static constexpr auto required = requiredByEach(everyIndex);
    return required[static_cast<std::size_t>(kind)];
}

std::vector<RecipeStep> settingBlocks(const OptionOverrides& overrides) { return addedBlocks(overrides, everyIndex); }

RecipeStep initialStep(RecipeBlockKind kind)
{
    static const std::array<RecipeStep, std::variant_size_v<RecipeStep>> steps = {
        step::Convert{"jpeg"},
        step::Resize{2048},
        step::Quality{0.85},
        step::Metadata{MetadataPolicy::removeAll},
        step::ColorProfile{ColorProfilePolicy::sRGB},
        step::Flatten{FlattenBackground::white},
        step::RenderDPI{150},
        step::Page{PageBackground::white},
        step::RemoveBackground{true},
        step::MaxFileBytes{2'000'000},
        step::VideoDefinition{VideoQuality::p1080},
        step::Codec{VideoCodec::h264},
        step::AudioBitRate{256'000},
        step::SourceFamily{FormatFamily::image},
        step::SourceFormat{"png"},
        step::NameContains{"IMG"},
        step::InputSizeLimit{100'000'000},
        step::ResetDefaults{},
    };
    return steps[static_cast<std::size_t>(kind)];
}

} // namespace nivex
