#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Whatever is imported is valid, and what is exported of it is imported as the same recipe.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using nivex::ConversionRecipe;
    try {
        const ConversionRecipe recipe = ConversionRecipe::importData({reinterpret_cast<const char*>(data), size});
        if (ConversionRecipe::importData(recipe.exportData()) != recipe)
            std::abort();
    } catch (const nivex::RecipeError&) {
    }
    return 0;
}
