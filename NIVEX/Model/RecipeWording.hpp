#pragma once

#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <string>
#include <vector>

namespace nivex {

/// The blocks of a recipe, each with what it holds: "Qualité d’image : 85 %".
std::vector<std::string> describeBlocks(const ConversionRecipe& recipe);

} // namespace nivex
