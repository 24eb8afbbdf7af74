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
static_assert(inKindOrder(std::make_index_sequence<std::variant_size_v<RecipeStep>>{}));

} // namespace

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
