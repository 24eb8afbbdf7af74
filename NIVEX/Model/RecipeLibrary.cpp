#include "NIVEX/Model/RecipeLibrary.hpp"

#include "NivexKit/Foundation/Files/SharedFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <optional>

namespace nivex {

namespace fs = std::filesystem;

namespace {

using Kept = RecipeLibrary::Kept;

[[noreturn]] void refuse(Text message) { throw RecipeError::invalid(message); }

/// The recipe of a file, or why there is none.
std::optional<ConversionRecipe> readRecipe(const fs::path& file, std::string& message)
{
    std::error_code failure;
    const auto text = SharedFile{file}.read(ConversionRecipe::maxFileBytes, failure);
    try {
        if (text)
            return ConversionRecipe::importData(*text);
        message = failure == std::errc::file_too_large ? "Ce fichier de raccourci est trop volumineux."_fr
                                                       : "Ce fichier de raccourci ne peut pas être lu."_fr;
    } catch (const RecipeError& error) {
        message = error.message();
    }
    return std::nullopt;
}

/// Writes a recipe while holding the lock of its file. `mayReplace` is false for a new one.
void write(const fs::path& location, const ConversionRecipe& recipe, bool mayReplace)
{
    const std::string data = recipe.exportData();
    SharedFile file{location};
    std::error_code failure;
    const auto lock = file.lock(failure);
    if (lock && !mayReplace && fs::exists(location))
        failure = std::make_error_code(std::errc::file_exists);
    if (failure || file.replace(*lock, data))
        refuse("Le raccourci n’a pas pu être enregistré."_fr);
}

} // namespace

fs::path RecipeLibrary::defaultFolder(const Environment& environment)
{
    return UserFolders::of(environment).data / "Recipes";
}

RecipeLibrary::Listing RecipeLibrary::list() const
{
    Listing listing;
    std::error_code ignored;
    for (const fs::directory_entry& each : fs::directory_iterator{folder_, ignored}) {
        const fs::path& file = each.path();
        if (file.extension() != ".json" || file.filename().native().starts_with('.'))
            continue;
        std::string message;
        if (auto recipe = readRecipe(file, message))
            listing.recipes.push_back({std::move(*recipe), file});
        else
            listing.unreadable.push_back({file, std::move(message)});
    }
    std::ranges::sort(listing.recipes, {}, [](const Kept& each) {
        return std::pair{lowercased(each.recipe.name), each.file.native()};
    });
    std::ranges::sort(listing.unreadable, {}, &Unreadable::file);
    return listing;
}

std::vector<Kept> RecipeLibrary::find(std::string_view nameOrId) const
{
    const auto id = Uuid::parse(nameOrId);
    std::vector<Kept> byId;
    std::vector<Kept> byName;
    for (Kept& each : list().recipes) {
        if (id && each.recipe.id == *id)
            byId.push_back(std::move(each));
        else if (each.recipe.name == nameOrId)
            byName.push_back(std::move(each));
    }
    return byId.empty() ? byName : byId;
}

ConversionRecipe RecipeLibrary::add(const ConversionRecipe& recipe)
{
    ConversionRecipe added = recipe.validated();
    const Listing listing = list();
    for (const Kept& each : listing.recipes)
        if (each.recipe == added)
            return added;
    // A file of that name that is no readable recipe is somebody's damaged one, and stays.
    const auto isTaken = [&](const Uuid& id) {
        return fs::exists(folder_ / (id.text() + ".json")) ||
               std::ranges::any_of(listing.recipes, [&](const Kept& each) { return each.recipe.id == id; });
    };
    if (isTaken(added.id))
        added.id = Uuid::random();
    write(folder_ / (added.id.text() + ".json"), added, false);
    return added;
}

ConversionRecipe RecipeLibrary::import(std::string_view data) { return add(ConversionRecipe::importData(data)); }

ConversionRecipe RecipeLibrary::rename(const Uuid& id, std::string name)
{
    Kept changed = kept(id);
    changed.recipe.name = std::move(name);
    write(changed.file, changed.recipe, true);
    return changed.recipe;
}

void RecipeLibrary::remove(const Uuid& id)
{
    const Kept gone = kept(id);
    std::error_code failure;
    if (!fs::remove(gone.file, failure))
        refuse("Le raccourci n’a pas pu être supprimé."_fr);
    // Nothing else would ever take the lock file away. Who waits for it writes a file that is gone, which is harmless.
    fs::remove(gone.file.parent_path() / ("." + gone.file.filename().native() + ".lock"), failure);
}

Kept RecipeLibrary::kept(const Uuid& id) const
{
    for (Kept& each : list().recipes)
        if (each.recipe.id == id)
            return std::move(each);
    refuse("Aucun raccourci ne porte ce nom."_fr);
}

} // namespace nivex
