#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"
#include "NivexKit/Recipes/RecipeError.hpp"
#include "NivexKit/Recipes/RecipeStep.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

struct TargetCapabilities;

/// A named list of blocks that fixes one target format and the settings of one conversion, and may ask for conditions
/// on the input files. It is never a pipeline: the blocks are settings, and their order changes nothing.
struct ConversionRecipe {
    using Step = RecipeStep;

    static constexpr std::int64_t currentVersion = 2;
    static constexpr bool readsVersion(std::int64_t version) { return version == 1 || version == currentVersion; }
    static constexpr std::size_t maxFileBytes = 65'536;
    static constexpr const char* defaultFileName = "Raccourci NIVEX.json";

    Uuid id;
    std::int64_t version = currentVersion;
    std::string name;
    std::vector<Step> steps;

    /// A new recipe with an identifier of its own.
    static ConversionRecipe make(std::string name, std::vector<Step> steps);

    /// An unchanged copy. Throws RecipeError for the first rule that the recipe breaks.
    ConversionRecipe validated() const;

    /// The format of the `convert` block; none without such a block.
    std::optional<FormatID> target() const;

    /// `base`, or the standard options where the recipe asks for them, with every setting of the recipe on top.
    /// Throws RecipeError when the recipe is not valid.
    ConversionOptions options(const ConversionOptions& base) const;

    /// Whether the standard options stand below its settings in place of a person's preferences.
    bool startsAfresh() const;
    /// The settings of the blocks alone.
    OptionOverrides settings() const;

    /// Whether a file meets every condition. `locale` ("fr_FR") says how file names are compared.
    bool accepts(const DetectionResult& file, std::string_view locale = {}) const;

    /// One sentence for every block that a conversion to the target will not apply. `capabilities` are those of
    /// `target()`. Nothing for a recipe without a target.
    std::vector<std::string> compatibilityWarnings(const TargetCapabilities& capabilities) const;

    /// The recipe as a file that can be shared. Throws RecipeError when the recipe is not valid.
    std::string exportData() const;

    /// Reads what `exportData` writes. The identifier is kept. Throws RecipeError for a file that is too large, is no
    /// recipe or holds one that is not valid.
    static ConversionRecipe importData(std::string_view data);

    bool operator==(const ConversionRecipe&) const = default;
};

} // namespace nivex
