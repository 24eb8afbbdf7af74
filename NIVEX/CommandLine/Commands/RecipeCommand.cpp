#include "NIVEX/CommandLine/Batch.hpp"
#include "NIVEX/CommandLine/FormatNames.hpp"
#include "NIVEX/CommandLine/JsonLines.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"
#include "NIVEX/Model/RecipeWording.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"
#include "NivexKit/Recipes/TargetCapabilities.hpp"

namespace nivex::commandline {
namespace {

namespace fs = std::filesystem;

/// The contents of a shared file; one byte more than a recipe may have, so that the reader sees what is too large.
std::string sharedFile(const fs::path& file)
{
    const auto source = FileSource::open(file);
    if (!source)
        throw RecipeError::invalid(filled("Le raccourci « {} » ne peut pas être lu."_fr, {shownPath(file)}));
    const std::vector<std::byte> bytes = source->read(0, ConversionRecipe::maxFileBytes + 1);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::string> namesOfKept(AppModel& model)
{
    std::vector<std::string> names;
    for (const RecipeLibrary::Kept& kept : model.recipes().list().recipes)
        names.push_back(kept.recipe.name);
    return names;
}

/// The recipe that a word means: the file of that path, else the one kept under that name.
ConversionRecipe recipeNamed(AppModel& model, const std::string& word)
{
    std::error_code ignored;
    if (fs::exists(word, ignored))
        return ConversionRecipe::importData(sharedFile(word));
    const std::vector<RecipeLibrary::Kept> kept = model.recipes().find(word);
    if (kept.empty())
        throw RecipeError::invalid(
            filled("« {} » n'est ni un fichier ni le nom d'un raccourci conservé."_fr, {validUtf8(word)}) +
            suggestion(word, namesOfKept(model)));
    if (kept.size() > 1)
        throw RecipeError::invalid(filled("Plusieurs raccourcis s'appellent « {} »."_fr, {validUtf8(word)}));
    return kept.front().recipe;
}

void writeNewRecipe(const fs::path& file, const ConversionRecipe& recipe)
{
    const std::string data = recipe.exportData();
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(file, ignored)))
        throw RecipeError::invalid(filled("Le fichier « {} » existe déjà."_fr, {shownPath(file)}));
    writeNewFile(file, data);
}

std::vector<std::string> warningsOf(AppModel& model, const ConversionRecipe& recipe)
{
    const auto target = recipe.target();
    return target ? recipe.compatibilityWarnings(TargetCapabilities::of(*target, model.engines()))
                  : std::vector<std::string>{};
}

void showWarnings(Session& session, const ConversionRecipe& recipe)
{
    const std::vector<std::string> warnings = warningsOf(session.model, recipe);
    if (!warnings.empty())
        session.console.note("Ces blocs ne sont pas appliqués par cette conversion : "_fr.localized());
    for (const std::string& warning : warnings)
        session.console.note("    " + warning);
}

/// The names of files compare by the rules of the user's language.
std::string locale(const Environment& environment)
{
    for (const char* name : {"LC_ALL", "LC_COLLATE", "LANG"})
        if (const auto value = environment(name); value && !value->empty())
            return value->substr(0, value->find('.'));
    return {};
}

void show(Console& console, const ConversionRecipe& recipe)
{
    console.result(emphasized(recipe.name));
    for (const std::string& block : describeBlocks(recipe))
        console.result("  " + block);
}

JsonObject keptRecipeLine(const RecipeLibrary::Kept& kept)
{
    JsonObject line{{"id", kept.recipe.id.text()},
                    {"name", kept.recipe.name},
                    {"target", kept.recipe.target().value_or(FormatID{}).rawValue}};
    setPath(line, "file", kept.file);
    return line;
}

} // namespace

ExitStatus runRecipe(Session& session, const ConvertArguments& arguments)
{
    const ConversionRecipe recipe = recipeNamed(session.model, *arguments.recipe).validated();
    const FileFormat& target = *session.model.registry().format(*recipe.target()); // a valid recipe has a known one
    const std::string userLocale = locale(session.model.environment());
    showWarnings(session, recipe);
    return runBatch(
        session,
        {.run = arguments.run,
         .target = target,
         .options = {.preferences = recipe.startsAfresh() ? ConversionOptions{} : session.model.preferences().options,
                     .recipe = recipe.settings(),
                     .typed = arguments.run.overrides},
         .recipeWarnings = warningsOf(session.model, recipe),
         .choosePlan =
             [&](const DetectionResult& detection) { return planTo(target, session.model.planner(), detection); },
         .accepts = [&](const DetectionResult& file) { return recipe.accepts(file, userLocale); }});
}

ExitStatus newRecipe(Session& session, const RecipeNewArguments& arguments)
{
    std::vector<RecipeStep> steps;
    if (!arguments.target.empty()) {
        const FileFormat* target = formatNamed(session.model.registry(), arguments.target);
        if (!target) {
            session.console.error(unknownFormat(session.model.registry(), arguments.target));
            return ExitStatus::wrongUsage;
        }
        steps.push_back(step::Convert{target->id});
    }
    for (RecipeStep& block : settingBlocks(arguments.settings))
        steps.push_back(std::move(block));
    steps.insert(steps.end(), arguments.conditions.begin(), arguments.conditions.end());
    if (arguments.resetDefaults)
        steps.push_back(step::ResetDefaults{});
    const std::string name = arguments.name.empty() ? shownPath(arguments.file.stem()) : arguments.name;
    const ConversionRecipe recipe = ConversionRecipe::make(name, std::move(steps));
    writeNewRecipe(arguments.file, recipe);
    showWarnings(session, recipe);
    session.console.result(shownPath(arguments.file));
    return ExitStatus::done;
}

ExitStatus recipeFile(Session& session, const RecipeFileArguments& arguments)
{
    if (arguments.action == RecipeFileArguments::Action::import) {
        const ConversionRecipe kept = session.model.recipes().import(sharedFile(arguments.recipe));
        session.console.result(kept.name);
        return ExitStatus::done;
    }
    const ConversionRecipe recipe = recipeNamed(session.model, arguments.recipe);
    if (arguments.action == RecipeFileArguments::Action::check)
        session.console.result(filled("« {} » est un raccourci valable."_fr, {recipe.name}));
    else if (arguments.json)
        session.console.jsonResult(parseJson(recipe.exportData()));
    else
        show(session.console, recipe);
    showWarnings(session, recipe);
    return ExitStatus::done;
}

ExitStatus listRecipes(Session& session, const RecipeListArguments& arguments)
{
    const RecipeLibrary::Listing listing = session.model.recipes().list();
    for (const RecipeLibrary::Kept& kept : listing.recipes) {
        if (arguments.json)
            session.console.jsonResult(keptRecipeLine(kept));
        else
            session.console.result(kept.recipe.name + " → " + kept.recipe.target().value_or(FormatID{}).rawValue);
    }
    if (listing.recipes.empty() && !arguments.json)
        session.console.note("Aucun raccourci conservé."_fr);
    for (const RecipeLibrary::Unreadable& unreadable : listing.unreadable)
        session.console.note(shownPath(unreadable.file) + " : " + unreadable.message);
    return listing.unreadable.empty() ? ExitStatus::done : ExitStatus::someFailed;
}

ExitStatus exportRecipe(Session& session, const RecipeExportArguments& arguments)
{
    writeNewRecipe(arguments.file, recipeNamed(session.model, arguments.name));
    session.console.result(shownPath(arguments.file));
    return ExitStatus::done;
}

} // namespace nivex::commandline
