#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// The kinds of blocks that make up a recipe, in the order in which the block library lists them.
enum class RecipeBlockKind {
    convert,
    resize,
    quality,
    metadata,
    colorProfile,
    flattenBackground,
    renderDPI,
    pageBackground,
    removeBackground,
    maxFileBytes,
    videoQuality,
    videoCodec,
    audioBitRate,
    sourceFamily,
    sourceFormat,
    nameContains,
    inputSizeLimit,
    resetDefaults,
};

/// All kinds in case order.
std::span<const RecipeBlockKind> allBlockKinds();

/// The name under which recipe files hold the kind, and the kind that such a name means.
std::string_view storedName(RecipeBlockKind kind);
std::optional<RecipeBlockKind> blockKindStoredAs(std::string_view stored);

/// What the block library and the editor show.
std::string title(RecipeBlockKind kind);
std::string category(RecipeBlockKind kind);
std::string detail(RecipeBlockKind kind);

} // namespace nivex
