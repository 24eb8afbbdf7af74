#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Formats/FormatFamily.hpp"
#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Recipes/RecipeBlockKind.hpp"

#include <cstdint>
#include <string>
#include <variant>

namespace nivex {

/// One block of a recipe: what its kind says, with this value.
template <RecipeBlockKind blockKind, class Value>
struct RecipeBlock {
    static constexpr RecipeBlockKind kind = blockKind;

    Value value{};

    bool operator==(const RecipeBlock&) const = default;
};

namespace step {
// clang-format off
using Convert           = RecipeBlock<RecipeBlockKind::convert, FormatID>;
using Resize            = RecipeBlock<RecipeBlockKind::resize, std::int64_t>;         // longest side in pixels
using Quality           = RecipeBlock<RecipeBlockKind::quality, double>;              // 0…1
using Metadata          = RecipeBlock<RecipeBlockKind::metadata, MetadataPolicy>;
using ColorProfile      = RecipeBlock<RecipeBlockKind::colorProfile, ColorProfilePolicy>;
using Flatten           = RecipeBlock<RecipeBlockKind::flattenBackground, FlattenBackground>;
using RenderDPI         = RecipeBlock<RecipeBlockKind::renderDPI, double>;            // dots per inch
using Page              = RecipeBlock<RecipeBlockKind::pageBackground, PageBackground>;
using RemoveBackground  = RecipeBlock<RecipeBlockKind::removeBackground, bool>;
using MaxFileBytes      = RecipeBlock<RecipeBlockKind::maxFileBytes, std::int64_t>;
using VideoDefinition   = RecipeBlock<RecipeBlockKind::videoQuality, VideoQuality>;
using Codec             = RecipeBlock<RecipeBlockKind::videoCodec, VideoCodec>;
using AudioBitRate      = RecipeBlock<RecipeBlockKind::audioBitRate, std::int64_t>;   // bits per second
using SourceFamily      = RecipeBlock<RecipeBlockKind::sourceFamily, FormatFamily>;
using SourceFormat      = RecipeBlock<RecipeBlockKind::sourceFormat, FormatID>;
using NameContains      = RecipeBlock<RecipeBlockKind::nameContains, std::string>;
using InputSizeLimit    = RecipeBlock<RecipeBlockKind::inputSizeLimit, std::int64_t>; // bytes
using ResetDefaults     = RecipeBlock<RecipeBlockKind::resetDefaults, std::monostate>;
// clang-format on
} // namespace step

/// One alternative per kind, in the order of the kinds.
using RecipeStep = std::variant<step::Convert, step::Resize, step::Quality, step::Metadata, step::ColorProfile,
                                step::Flatten, step::RenderDPI, step::Page, step::RemoveBackground, step::MaxFileBytes,
                                step::VideoDefinition, step::Codec, step::AudioBitRate, step::SourceFamily,
                                step::SourceFormat, step::NameContains, step::InputSizeLimit, step::ResetDefaults>;

inline RecipeBlockKind blockKind(const RecipeStep& step) { return static_cast<RecipeBlockKind>(step.index()); }

/// The block that is inserted when a person adds one of this kind. Its value is valid, and where there is a choice it
/// is one that changes something.
RecipeStep initialStep(RecipeBlockKind kind);

} // namespace nivex
