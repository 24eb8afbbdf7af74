#pragma once

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Formats/FormatFamily.hpp"
#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Recipes/RecipeBlockKind.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace nivex {

/// One block of a recipe: what its kind says, with this value. `settingField` is the field of ConversionOptions that
/// the block sets; null for blocks that set none.
template <RecipeBlockKind blockKind, class Value, auto settingField = nullptr>
struct RecipeBlock {
    static constexpr RecipeBlockKind kind = blockKind;
    static constexpr auto field = settingField;

    Value value{};

    bool operator==(const RecipeBlock&) const = default;
};

template <RecipeBlockKind kind, auto field>
using SettingBlock = RecipeBlock<kind, SettingValue<field>, field>;

template <class Block>
concept SetsAnOption = std::is_member_object_pointer_v<std::remove_const_t<decltype(Block::field)>>;

namespace step {
// clang-format off
using Convert           = RecipeBlock<RecipeBlockKind::convert, FormatID>;
using Resize            = SettingBlock<RecipeBlockKind::resize, &ConversionOptions::maxPixelDimension>;
using Quality           = SettingBlock<RecipeBlockKind::quality, &ConversionOptions::quality>;
using Metadata          = SettingBlock<RecipeBlockKind::metadata, &ConversionOptions::metadata>;
using ColorProfile      = SettingBlock<RecipeBlockKind::colorProfile, &ConversionOptions::colorProfile>;
using Flatten           = SettingBlock<RecipeBlockKind::flattenBackground, &ConversionOptions::flattenBackground>;
using RenderDPI         = SettingBlock<RecipeBlockKind::renderDPI, &ConversionOptions::renderDPI>;
using Page              = SettingBlock<RecipeBlockKind::pageBackground, &ConversionOptions::pageBackground>;
using RemoveBackground  = SettingBlock<RecipeBlockKind::removeBackground, &ConversionOptions::removeBackground>;
using MaxFileBytes      = SettingBlock<RecipeBlockKind::maxFileBytes, &ConversionOptions::maxFileBytes>;
using VideoDefinition   = SettingBlock<RecipeBlockKind::videoQuality, &ConversionOptions::videoQuality>;
using Codec             = SettingBlock<RecipeBlockKind::videoCodec, &ConversionOptions::videoCodec>;
using AudioBitRate      = SettingBlock<RecipeBlockKind::audioBitRate, &ConversionOptions::audioBitRate>;
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

/// What the target must support for a block of this kind to take effect; none for blocks that always do.
std::optional<ConversionOptionKind> requiredOption(RecipeBlockKind kind);

/// The blocks that set these options, in the order of their kinds.
std::vector<RecipeStep> settingBlocks(const OptionOverrides& overrides);

/// The block that is inserted when a person adds one of this kind. Its value is valid, and where there is a choice it
/// is one that changes something.
RecipeStep initialStep(RecipeBlockKind kind);

} // namespace nivex
