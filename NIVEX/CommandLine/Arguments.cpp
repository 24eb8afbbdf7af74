#include "NIVEX/CommandLine/Arguments.hpp"

#include "NIVEX/CommandLine/ArgumentReader.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

#ifndef NIVEX_VERSION
#error "the build names the version"
#endif

namespace nivex::commandline {
namespace {

/// One call's parser: the commands with their options, each bound to the place its value goes to.
class Parser {
public:
    Parser();

    Invocation parse(std::span<const std::string> arguments);

private:
    void addDetectionCommands();
    void addConversionCommands();
    void addListCommands();
    void addHistoryCommands();
    void addRecipeCommands();

    /// The command that was named, or the sub-command of it; the program itself when there is none.
    const CLI::App& chosenCommand() const;
    Invocation checked() const;
    std::string usageMessage(const CLI::ParseError& error) const;
    std::string unexpectedMessage(const std::string& word) const;

    template <class Arguments>
    CLI::App& onCommand(CLI::App& parent, const char* name, Text description, Arguments& arguments)
    {
        CLI::App& command = addCommand(parent, name, description);
        chosen_.push_back({&command, [&arguments] { return Invocation{arguments}; }});
        return command;
    }

    struct Choice {
        const CLI::App* command;
        std::function<Invocation()> invocation;
    };

    CLI::App app_;
    std::vector<Choice> chosen_;
    IdentifyArguments identify_;
    PlansArguments plans_;
    ConvertArguments convert_;
    OptimizeArguments optimize_;
    FormatsArguments formats_;
    EnginesArguments engines_;
    DoctorArguments doctor_;
    HistoryListArguments history_;
    HistoryClearArguments historyClear_;
    HistoryRetentionArguments historyRetention_;
    RecipeNewArguments recipeNew_;
    RecipeFileArguments recipeCheck_{.action = RecipeFileArguments::Action::check};
    RecipeFileArguments recipeShow_{.action = RecipeFileArguments::Action::show};
    RecipeFileArguments recipeImport_{.action = RecipeFileArguments::Action::import};
    RecipeListArguments recipeList_;
    RecipeExportArguments recipeExport_;
    ConvertArguments recipeRun_;
};

Parser::Parser()
    : app_{"NIVEX convertit des fichiers sur cette machine, sans jamais toucher aux originaux."_fr, "nivex"}
{
    speakFrench(app_);
    app_.set_version_flag("--version", "nivex " NIVEX_VERSION, "Affiche la version"_fr);
    app_.require_subcommand(1);
    addDetectionCommands();
    addConversionCommands();
    addListCommands();
    addHistoryCommands();
    addRecipeCommands();
}

void Parser::addDetectionCommands()
{
    CLI::App& identify = onCommand(app_, "identify", "Reconnaît le vrai format de chaque fichier"_fr, identify_);
    addSelection(identify, identify_.selection);
    addFlag(identify, "--json", identify_.json, "Un objet JSON par fichier"_fr);
    addFlag(identify, "--deep", identify_.deep, "Mesure aussi ce que les lecteurs de format savent dire"_fr);

    CLI::App& plans =
        onCommand(app_, "plans", "Montre ce que chaque fichier peut devenir, et ce qui serait perdu"_fr, plans_);
    addSelection(plans, plans_.selection);
    addFlag(plans, "--json", plans_.json, "Un objet JSON par fichier"_fr);
    addFlag(plans, "--common", plans_.common, "Seulement les formats que tous les fichiers peuvent devenir"_fr);
}

void Parser::addConversionCommands()
{
    CLI::App& convert = onCommand(app_, "convert", "Convertit des fichiers"_fr, convert_);
    addText(convert, "--to", "FORMAT", "Format voulu : un identifiant ou une extension"_fr,
            [this](const std::string& value) { convert_.target = value; });
    addText(convert, "--recipe", "RACCOURCI", "Raccourci à appliquer au lieu de --to : un fichier ou un nom"_fr,
            [this](const std::string& value) { convert_.recipe = value; });
    addRun(convert, convert_.run);

    CLI::App& optimize = onCommand(app_, "optimize", "Allège des fichiers sans changer leur format"_fr, optimize_);
    addRun(optimize, optimize_.run);
}

void Parser::addListCommands()
{
    CLI::App& formats = onCommand(app_, "formats", "Liste les formats connus"_fr, formats_);
    addFlag(formats, "--json", formats_.json, "Un objet JSON par format"_fr);
    addText(formats, "--family", "NOM", "Seulement cette famille"_fr,
            [this](const std::string& value) { formats_.family = familyNamed(value); });

    CLI::App& engines = onCommand(app_, "engines", "Liste les douze moteurs de conversion"_fr, engines_);
    addFlag(engines, "--json", engines_.json, "Un objet JSON par moteur"_fr);

    CLI::App& doctor = onCommand(app_, "doctor", "Montre ce qui fonctionne sur cette machine"_fr, doctor_);
    addFlag(doctor, "--json", doctor_.json, "Un seul objet JSON"_fr);
}

void Parser::addHistoryCommands()
{
    CLI::App& history = onCommand(app_, "history", "Montre les conversions passées"_fr, history_);
    history.require_subcommand(0, 1);
    addFlag(history, "--json", history_.json, "Un objet JSON par conversion"_fr);
    addText(history, "--limit", "N", "Au plus N conversions"_fr,
            [this](const std::string& value) { history_.limit = numberOf<std::size_t>("--limit", value); });
    onCommand(history, "clear", "Oublie toutes les conversions"_fr, historyClear_);
    CLI::App& retention =
        onCommand(history, "retention", "Règle ou montre la durée de conservation"_fr, historyRetention_);
    addWord(retention, "DUREE", "off, oneDay, sevenDays, thirtyDays ou forever"_fr, [this](const std::string& value) {
        historyRetention_.retention = retentionStoredAs(value);
        if (!historyRetention_.retention)
            refuse("retention", value);
    });
}

void Parser::addRecipeCommands()
{
    CLI::App& recipe = addCommand(app_, "recipe", "Compose, vérifie et applique des raccourcis"_fr);
    recipe.require_subcommand(1);
    const auto readFile = [](RecipeFileArguments& arguments) {
        return [&arguments](const std::string& value) { arguments.recipe = value; };
    };

    CLI::App& make = onCommand(recipe, "new", "Écrit un raccourci dans un nouveau fichier"_fr, recipeNew_);
    addWord(make, "RACCOURCI", "Fichier à écrire"_fr, [this](const std::string& value) { recipeNew_.file = value; });
    addText(make, "--name", "NOM", "Nom du raccourci"_fr,
            [this](const std::string& value) { recipeNew_.name = value; });
    addText(make, "--to", "FORMAT", "Format de sortie"_fr,
            [this](const std::string& value) { recipeNew_.target = value; });
    addText(
        make, "--if-family", "FAMILLE", "Seulement les fichiers de cette famille"_fr,
        [this](const std::string& value) { recipeNew_.conditions.push_back(step::SourceFamily{familyNamed(value)}); });
    addText(make, "--if-format", "FORMAT", "Seulement les fichiers de ce format"_fr,
            [this](const std::string& value) { recipeNew_.conditions.push_back(step::SourceFormat{value}); });
    addText(make, "--if-name", "TEXTE", "Seulement les noms contenant ce texte"_fr,
            [this](const std::string& value) { recipeNew_.conditions.push_back(step::NameContains{value}); });
    addText(make, "--if-at-most", "TAILLE", "Seulement les fichiers d'au plus ce poids"_fr,
            [this](const std::string& value) {
                recipeNew_.conditions.push_back(step::InputSizeLimit{sizeOf("--if-at-most", value)});
            });
    addFlag(make, "--reset-defaults", recipeNew_.resetDefaults, "Part des valeurs standard, pas des préférences"_fr);
    addOverrides(make, recipeNew_.settings);

    CLI::App& check = onCommand(recipe, "check", "Vérifie un raccourci"_fr, recipeCheck_);
    addWord(check, "RACCOURCI", "Fichier, ou nom d'un raccourci conservé"_fr, readFile(recipeCheck_));
    CLI::App& show = onCommand(recipe, "show", "Montre les blocs d'un raccourci"_fr, recipeShow_);
    addWord(show, "RACCOURCI", "Fichier, ou nom d'un raccourci conservé"_fr, readFile(recipeShow_));
    addFlag(show, "--json", recipeShow_.json, "Le raccourci tel qu'il se partage"_fr);
    CLI::App& run = onCommand(recipe, "run", "Convertit des fichiers avec un raccourci"_fr, recipeRun_);
    addWord(run, "RACCOURCI", "Fichier, ou nom d'un raccourci conservé"_fr,
            [this](const std::string& value) { recipeRun_.recipe = value; });
    addRun(run, recipeRun_.run);

    CLI::App& list = onCommand(recipe, "list", "Liste les raccourcis conservés"_fr, recipeList_);
    addFlag(list, "--json", recipeList_.json, "Un objet JSON par raccourci"_fr);
    CLI::App& import = onCommand(recipe, "import", "Conserve une copie d'un raccourci partagé"_fr, recipeImport_);
    addWord(import, "RACCOURCI", "Fichier à conserver"_fr, readFile(recipeImport_));
    CLI::App& exporting =
        onCommand(recipe, "export", "Écrit un raccourci conservé dans un nouveau fichier"_fr, recipeExport_);
    addWord(exporting, "NOM", "Nom du raccourci"_fr, [this](const std::string& value) { recipeExport_.name = value; });
    addWord(exporting, "FICHIER", "Fichier à écrire"_fr,
            [this](const std::string& value) { recipeExport_.file = value; });
}

/// The arguments as the library takes them: the last one first, and without the "--" that ends the options.
std::vector<std::string> libraryWords(std::span<const std::string> arguments)
{
    std::vector<std::string> words;
    bool areOptionsOver = false;
    for (const std::string& each : arguments) {
        if (each == "--" && !std::exchange(areOptionsOver, true))
            continue;
        const bool isMistakable = each.starts_with('[') || (areOptionsOver && each.starts_with('-'));
        words.push_back(isMistakable ? protectedWord(each) : each);
    }
    std::ranges::reverse(words);
    return words;
}

Invocation Parser::parse(std::span<const std::string> arguments)
{
    try {
        app_.parse(libraryWords(arguments));
        return checked();
    } catch (const BadValue& bad) {
        return UsageError{bad.message};
    } catch (const CLI::CallForHelp&) {
        return Printout{app_.help()}; // of the command that was named
    } catch (const CLI::CallForVersion& version) {
        return Printout{version.what()};
    } catch (const CLI::ParseError& error) {
        return UsageError{usageMessage(error)};
    }
}

const CLI::App& Parser::chosenCommand() const
{
    const CLI::App* command = &app_;
    for (auto below = command->get_subcommands(); !below.empty(); below = command->get_subcommands())
        command = below.front();
    return *command;
}

/// What an argument library cannot know: that one thing or another must be there.
struct Completeness {
    std::string operator()(const Printout&) const { return {}; }
    std::string operator()(const UsageError& error) const { return error.message; }
    std::string operator()(const IdentifyArguments& identify) const { return files("identify", identify.selection); }
    std::string operator()(const PlansArguments& plans) const { return files("plans", plans.selection); }
    std::string operator()(const ConvertArguments& convert) const
    {
        if (convert.target.empty() && !convert.recipe)
            return "convert a besoin de --to FORMAT"_fr;
        if (!convert.target.empty() && convert.recipe)
            return "--to et --recipe ne vont pas ensemble"_fr;
        return files("convert", convert.run.selection);
    }
    std::string operator()(const OptimizeArguments& optimize) const
    {
        if (!optimize.run.overrides.has(&ConversionOptions::maxFileBytes))
            return "optimize a besoin de --max-size TAILLE"_fr;
        return files("optimize", optimize.run.selection);
    }
    std::string operator()(const RecipeNewArguments& make) const
    {
        return make.file.empty() ? needsRecipe() : std::string{};
    }
    std::string operator()(const RecipeFileArguments& named) const
    {
        return named.recipe.empty() ? needsRecipe() : std::string{};
    }
    std::string operator()(const RecipeExportArguments& exporting) const
    {
        return exporting.name.empty() || exporting.file.empty() ? needsRecipe() : std::string{};
    }
    template <class Arguments>
    std::string operator()(const Arguments&) const
    {
        return {};
    }

    static std::string needsRecipe() { return "il manque un raccourci ou un fichier ; voyez nivex recipe --help"_fr; }
    static std::string files(std::string_view command, const FileSelection& selection)
    {
        return selection.files.empty() && !selection.filesFrom
                   ? filled("{} a besoin d'au moins un fichier"_fr, {command})
                   : std::string{};
    }
};

Invocation Parser::checked() const
{
    const CLI::App* command = &chosenCommand();
    for (const Choice& choice : chosen_) {
        if (choice.command != command)
            continue;
        Invocation invocation = choice.invocation();
        if (std::string problem = std::visit(Completeness{}, invocation); !problem.empty())
            return UsageError{std::move(problem)};
        return invocation;
    }
    return UsageError{"il manque une commande ; voyez nivex --help"_fr};
}

/// The library's own messages are English; what went wrong is told again from its parts.
std::string Parser::usageMessage(const CLI::ParseError& error) const
{
    const std::string what = error.what();
    const std::vector<std::string> extras = app_.remaining(true);
    if (!extras.empty())
        return unexpectedMessage(extras.front());
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return filled("l'option {} attend une seule valeur"_fr, {what.substr(0, what.find(':'))});
    const std::string path = chosenCommand().get_display_name(); // "nivex" for the program itself
    return filled("il manque une commande ; voyez {} --help"_fr, {path == "nivex" ? path : "nivex " + path});
}

std::string Parser::unexpectedMessage(const std::string& word) const
{
    const CLI::App& command = chosenCommand();
    std::vector<std::string> names;
    if (!word.starts_with('-')) {
        for (const CLI::App* each : command.get_subcommands({}))
            names.push_back(each->get_name());
        if (names.empty())
            return filled("argument de trop : « {} »"_fr, {validUtf8(unprotected(word))});
        return filled("commande inconnue : « {} »."_fr, {validUtf8(unprotected(word))}) + suggestion(word, names);
    }
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return filled("option inconnue : « {} »."_fr, {validUtf8(word)}) + suggestion(word, names);
}

} // namespace

Invocation parseArguments(std::span<const std::string> arguments) { return Parser{}.parse(arguments); }

} // namespace nivex::commandline
