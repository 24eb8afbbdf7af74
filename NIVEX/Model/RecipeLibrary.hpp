#pragma once

#include "NivexKit/Foundation/Files/UserFolders.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// The recipes that a person keeps, one shareable file each in a folder. Every member reads the folder anew, so that
/// files which other programs or the person put there count. What cannot be done throws RecipeError.
class RecipeLibrary {
public:
    struct Kept {
        ConversionRecipe recipe;
        std::filesystem::path file;
    };
    struct Unreadable {
        std::filesystem::path file;
        std::string message;
    };
    struct Listing {
        std::vector<Kept> recipes; // by name
        std::vector<Unreadable> unreadable;
    };

    explicit RecipeLibrary(std::filesystem::path folder) : folder_{std::move(folder)} {}

    /// "Recipes" in the user's data folder.
    static std::filesystem::path defaultFolder(const Environment& environment);

    Listing list() const;

    /// The recipes that a person may mean: the one with that identifier, else all with that name.
    std::vector<Kept> find(std::string_view nameOrId) const;

    /// Keeps a recipe and returns it as kept. One that is there already, unchanged, is kept once; one whose identifier
    /// belongs to another recipe gets an identifier of its own. Nothing is overwritten.
    ConversionRecipe add(const ConversionRecipe& recipe);

    /// The same with the contents of a shared file.
    ConversionRecipe import(std::string_view data);

    ConversionRecipe rename(const Uuid& id, std::string name);
    void remove(const Uuid& id);

private:
    Kept kept(const Uuid& id) const;

    std::filesystem::path folder_;
};

} // namespace nivex
