#include "NIVEX/CommandLine/Arguments.hpp"

#include "NIVEX/CommandLine/ArgumentReader.hpp"
#include "NIVEX/CommandLine/CommandDescription.hpp"
#include "NIVEX/CommandLine/Completions.hpp"
#include "NIVEX/CommandLine/FormatNames.hpp"
#include "NIVEX/CommandLine/ManualPage.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

#ifndef NIVEX_VERSION
#error "the build names the version"
#endif

namespace nivex::commandline {
namespace {

/// One call's parser: the command that was named with its options, each bound to the place its value goes to. The
/// others are only listed, and that only where nothing else was named: describing all options takes longer than
/// recognising a file.
class Parser {
public:
    Invocation parse(std::span<const std::string> arguments);
    CommandDescription described();

private:
    struct CommandRow {
        const char* name;
        Text description;
        void (Parser::*addTo)(CLI::App& command);
    };
    static const CommandRow commands[];

    static const CommandRow* commandNamed(std::string_view word);
    static std::vector<std::string> inOrder(std::span<const std::string> arguments);
    void addCommandsFor(std::string_view word);

    void addIdentify(CLI::App& command);
    void addPlans(CLI::App& command);
    void addConvert(CLI::App& command);
    void addOptimize(CLI::App& command);
    void addStrip(CLI::App& command);
    void addFormats(CLI::App& command);
    void addEngines(CLI::App& command);
    void addDoctor(CLI::App& command);
    void addHistory(CLI::App& command);
    void addRecipe(CLI::App& command);
    void addRecipeMaking(CLI::App& recipe);
    void addRecipeUse(CLI::App& recipe);
    void addRecipeKeeping(CLI::App& recipe);
    void addCompletion(CLI::App& command);
    void addManual(CLI::App& command);

    /// The command that was named, or the sub-command of it; the program itself when there is none.
    const CLI::App& chosenCommand() const;
    /// "nivex recipe show".
    std::string nameOfChosenCommand() const;
    Invocation checked() const;
    std::string usageMessage(const CLI::ParseError& error) const;
    std::string unexpectedMessage(const std::string& word) const;

    /// Makes a command yield these arguments.
    template <class Arguments>
    void yields(const CLI::App& command, Arguments& arguments)
    {
        chosen_.push_back({&command, [&arguments] { return Invocation{arguments}; }});
    }
    template <class Arguments>
    CLI::App& onCommand(CLI::App& parent, const char* name, Text description, Arguments& arguments)
    {
        CLI::App& command = addCommand(parent, name, description);
        yields(command, arguments);
        return command;
    }

    struct Choice {
        const CLI::App* command;
        std::function<Invocation()> invocation;
    };

    CLI::App app_{"NIVEX convertit des fichiers sur cette machine, sans jamais toucher aux originaux."_fr, "nivex"};
    std::vector<Choice> chosen_;
    IdentifyArguments identify_;
    PlansArguments plans_;
    ConvertArguments convert_;
    OptimizeArguments optimize_;
    StripArguments strip_;
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
    std::optional<Shell> shell_;
};

// clang-format off
const Parser::CommandRow Parser::commands[] = {
    {"identify", "Reconnaît le vrai format de chaque fichier"_fr,                              &Parser::addIdentify},
    {"plans",    "Montre ce que chaque fichier peut devenir, et ce qui serait perdu"_fr,        &Parser::addPlans},
    {"convert",  "Convertit des fichiers"_fr,                                                  &Parser::addConvert},
    {"optimize", "Allège des fichiers sans changer leur format"_fr,                            &Parser::addOptimize},
    {"strip",    "Retire la localisation ou toutes les métadonnées, sans toucher aux pixels"_fr, &Parser::addStrip},
    {"formats",  "Liste les formats connus"_fr,                                                &Parser::addFormats},
    {"engines",  "Liste les douze moteurs de conversion"_fr,                                   &Parser::addEngines},
    {"doctor",   "Montre ce qui fonctionne sur cette machine"_fr,                              &Parser::addDoctor},
    {"history",  "Montre les conversions passées"_fr,                                          &Parser::addHistory},
    {"recipe",   "Compose, vérifie et applique des raccourcis"_fr,                             &Parser::addRecipe},
    {"completion", "Écrit de quoi compléter les commandes dans un interpréteur"_fr,           &Parser::addCompletion},
    {"manual",   "Écrit la page de manuel"_fr,                                                 &Parser::addManual},
};
// clang-format on

const Parser::CommandRow* Parser::commandNamed(std::string_view word)
{
    const auto found = std::ranges::find(commands, word, &CommandRow::name);
    return found == std::end(commands) ? nullptr : found;
}

/// The arguments with the command in front, where only options stand before it: "nivex --json identify" is understood.
/// "nivex help convert" asks for what "nivex convert --help" does.
std::vector<std::string> Parser::inOrder(std::span<const std::string> arguments)
{
    std::vector<std::string> words{arguments.begin(), arguments.end()};
    if (words.size() == 1 && words.front() == "version")
        return {"--version"};
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        if (words.empty() || commandNamed(words.front()))
            words.emplace_back("--help");
        return words;
    }
    const auto command = std::ranges::find_if(words, [](const std::string& word) { return !word.starts_with('-'); });
    if (command != words.end() && commandNamed(*command) && std::find(words.begin(), command, "--") == command)
        std::rotate(words.begin(), command, command + 1);
    return words;
}

void Parser::addCommandsFor(std::string_view word)
{
    speakFrench(app_);
    app_.set_version_flag("--version", "nivex " NIVEX_VERSION, "Affiche la version"_fr)->group("Options "_fr);
    app_.require_subcommand(1);
    if (const CommandRow* named = commandNamed(word))
        return (this->*named->addTo)(addCommand(app_, named->name, named->description));
    for (const CommandRow& each : commands)
        addCommand(app_, each.name, each.description);
}

void Parser::addIdentify(CLI::App& identify)
{
    yields(identify, identify_);
    addSelection(identify, identify_.selection);
    addFlag(identify, "--json", identify_.json, "Un objet JSON par fichier"_fr);
    addFlag(identify, "--deep", identify_.deep, "Mesure aussi ce que les lecteurs de format savent dire"_fr);
    addVerbose(identify, identify_.verbose);
}

void Parser::addPlans(CLI::App& plans)
{
    yields(plans, plans_);
    addSelection(plans, plans_.selection);
    addFlag(plans, "--json", plans_.json, "Un objet JSON par fichier"_fr);
    addFlag(plans, "--common", plans_.common, "Seulement les formats que tous les fichiers peuvent devenir"_fr);
    addVerbose(plans, plans_.verbose);
}

void Parser::addConvert(CLI::App& convert)
{
    yields(convert, convert_);
    addText(convert, "--to", "FORMAT", "Format voulu : un identifiant ou une extension"_fr,
            [this](const std::string& value) { convert_.target = value; });
    addText(convert, "--recipe", "RACCOURCI"_fr, "Raccourci à appliquer au lieu de --to : un fichier ou un nom"_fr,
            [this](const std::string& value) { convert_.recipe = value; });
    addRun(convert, convert_.run);
    addSkipExisting(convert, convert_.run);
}

void Parser::addOptimize(CLI::App& optimize)
{
    yields(optimize, optimize_);
    addRun(optimize, optimize_.run);
}

void Parser::addStrip(CLI::App& strip)
{
    yields(strip, strip_);
    addPlaces(strip, strip_.run);
    addOverrides(strip, strip_.run.overrides, ConversionOptionKind::metadata);
}

void Parser::addFormats(CLI::App& formats)
{
    yields(formats, formats_);
    addFlag(formats, "--json", formats_.json, "Un objet JSON par format"_fr);
    addText(formats, "--family", "NOM"_fr, "Seulement cette famille"_fr,
            [this](const std::string& value) { formats_.family = familyNamed(value); });
}

void Parser::addEngines(CLI::App& engines)
{
    yields(engines, engines_);
    addFlag(engines, "--json", engines_.json, "Un objet JSON par moteur"_fr);
}

void Parser::addDoctor(CLI::App& doctor)
{
    yields(doctor, doctor_);
    addFlag(doctor, "--json", doctor_.json, "Un seul objet JSON"_fr);
}

void Parser::addHistory(CLI::App& history)
{
    yields(history, history_);
    history.require_subcommand(0, 1);
    addFlag(history, "--json", history_.json, "Un objet JSON par conversion"_fr);
    addText(history, "--limit", "N", "Au plus N conversions"_fr,
            [this](const std::string& value) { history_.limit = numberOf<std::size_t>("--limit", value); });
    onCommand(history, "clear", "Oublie toutes les conversions"_fr, historyClear_);
    CLI::App& retention =
        onCommand(history, "retention", "Règle ou montre la durée de conservation"_fr, historyRetention_);
    std::string durations;
    for (const HistoryRetention each : allRetentions())
        durations.append(durations.empty() ? "" : "|").append(storedName(each));
    addText(retention, "DUREE"_fr, durations, "Durée voulue ; sans elle, celle qui vaut"_fr,
            [this, durations](const std::string& value) {
                historyRetention_.retention = retentionStoredAs(value);
                if (!historyRetention_.retention)
                    refuseChoice("retention", value, durations);
            });
}

void Parser::addRecipe(CLI::App& recipe)
{
    recipe.require_subcommand(1);
    addRecipeMaking(recipe);
    addRecipeUse(recipe);
    addRecipeKeeping(recipe);
}

void Parser::addRecipeMaking(CLI::App& recipe)
{
    auto& conditions = recipeNew_.conditions;
    CLI::App& make = onCommand(recipe, "new", "Écrit un raccourci dans un nouveau fichier"_fr, recipeNew_);
    addWord(make, "RACCOURCI"_fr, "Fichier à écrire"_fr, [this](const std::string& value) { recipeNew_.file = value; });
    addText(make, "--name", "NOM"_fr, "Nom du raccourci"_fr,
            [this](const std::string& value) { recipeNew_.name = value; });
    addText(make, "--to", "FORMAT", "Format de sortie"_fr,
            [this](const std::string& value) { recipeNew_.target = value; });
    addText(make, "--if-family", "FAMILLE"_fr, "Seulement les fichiers de cette famille"_fr,
            [&conditions](const std::string& value) { conditions.push_back(step::SourceFamily{familyNamed(value)}); });
    addText(make, "--if-format", "FORMAT", "Seulement les fichiers de ce format"_fr,
            [&conditions](const std::string& value) { conditions.push_back(step::SourceFormat{formatOf(value)}); });
    addText(make, "--if-name", "TEXTE"_fr, "Seulement les noms contenant ce texte"_fr,
            [&conditions](const std::string& value) { conditions.push_back(step::NameContains{value}); });
    addText(make, "--if-at-most", "TAILLE"_fr, "Seulement les fichiers d'au plus ce poids"_fr,
            [&conditions](const std::string& value) {
                conditions.push_back(step::InputSizeLimit{sizeOf("--if-at-most", value)});
            });
    addFlag(make, "--reset-defaults", recipeNew_.resetDefaults, "Part des valeurs standard, pas des préférences"_fr);
    addOverrides(make, recipeNew_.settings);
}

void Parser::addRecipeUse(CLI::App& recipe)
{
    const auto addNamed = [](CLI::App& command, RecipeFileArguments& arguments, Text description) {
        addWord(command, "RACCOURCI"_fr, description,
                [&arguments](const std::string& value) { arguments.recipe = value; });
    };
    addNamed(onCommand(recipe, "check", "Vérifie un raccourci"_fr, recipeCheck_), recipeCheck_,
             "Fichier, ou nom d'un raccourci conservé"_fr);
    CLI::App& show = onCommand(recipe, "show", "Montre les blocs d'un raccourci"_fr, recipeShow_);
    addNamed(show, recipeShow_, "Fichier, ou nom d'un raccourci conservé"_fr);
    addFlag(show, "--json", recipeShow_.json, "Le raccourci tel qu'il se partage"_fr);
    addNamed(onCommand(recipe, "import", "Conserve une copie d'un raccourci partagé"_fr, recipeImport_), recipeImport_,
             "Fichier à conserver"_fr);
    CLI::App& run = onCommand(recipe, "run", "Convertit des fichiers avec un raccourci"_fr, recipeRun_);
    addWord(run, "RACCOURCI"_fr, "Fichier, ou nom d'un raccourci conservé"_fr,
            [this](const std::string& value) { recipeRun_.recipe = value; });
    addRun(run, recipeRun_.run);
    addSkipExisting(run, recipeRun_.run);
}

void Parser::addRecipeKeeping(CLI::App& recipe)
{
    CLI::App& list = onCommand(recipe, "list", "Liste les raccourcis conservés"_fr, recipeList_);
    addFlag(list, "--json", recipeList_.json, "Un objet JSON par raccourci"_fr);
    CLI::App& exporting =
        onCommand(recipe, "export", "Écrit un raccourci conservé dans un nouveau fichier"_fr, recipeExport_);
    addWord(exporting, "NOM"_fr, "Nom du raccourci"_fr,
            [this](const std::string& value) { recipeExport_.name = value; });
    addWord(exporting, "FICHIER"_fr, "Fichier à écrire"_fr,
            [this](const std::string& value) { recipeExport_.file = value; });
}

void Parser::addCompletion(CLI::App& completion)
{
    addText(completion, "INTERPRETEUR"_fr, shellNames(), "Celui pour lequel écrire"_fr,
            [this](const std::string& value) {
                shell_ = shellNamed(value);
                if (!shell_)
                    refuse("completion", value);
            });
    chosen_.push_back(
        {&completion, [this]() -> Invocation {
             if (!shell_)
                 return UsageError{filled("il manque un interpréteur : {}"_fr, {shellNames()}), nameOfChosenCommand()};
             return Printout{
                 completionScript(*shell_, describedProgram(), formatIdentifiers(FormatRegistry::standard()))};
         }});
}

void Parser::addManual(CLI::App& manual)
{
    chosen_.push_back({&manual, [] { return Invocation{Printout{manualPage(describedProgram(), NIVEX_VERSION)}}; }});
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
        const std::vector<std::string> words = inOrder(arguments);
        addCommandsFor(words.empty() ? std::string{} : words.front());
        app_.parse(libraryWords(words));
        return checked();
    } catch (const BadValue& bad) {
        return UsageError{bad.message, nameOfChosenCommand()};
    } catch (const CLI::CallForHelp&) {
        return Printout{app_.help()}; // of the command that was named
    } catch (const CLI::CallForVersion& version) {
        return Printout{version.what()};
    } catch (const CLI::ParseError& error) {
        return UsageError{usageMessage(error), nameOfChosenCommand()};
    }
}

const CLI::App& Parser::chosenCommand() const
{
    const CLI::App* command = &app_;
    for (auto below = command->get_subcommands(); !below.empty(); below = command->get_subcommands())
        command = below.front();
    return *command;
}

std::string Parser::nameOfChosenCommand() const
{
    std::string name = app_.get_name();
    const CLI::App* command = &app_;
    for (auto below = command->get_subcommands(); !below.empty(); below = command->get_subcommands()) {
        command = below.front();
        name += " " + command->get_name();
    }
    return name;
}

/// What an argument library cannot know: that one thing or another must be there.
struct Completeness {
    std::string operator()(const Printout&) const { return {}; }
    std::string operator()(const UsageError& error) const { return error.message; }
    std::string operator()(const IdentifyArguments& identify) const { return files(identify.selection); }
    std::string operator()(const PlansArguments& plans) const { return files(plans.selection); }
    std::string operator()(const ConvertArguments& convert) const
    {
        const bool isNamedByFile = convert.run.outputFile && convert.run.outputFile->has_extension();
        if (std::string problem = resultFile(convert.run); !problem.empty())
            return problem;
        if (convert.target.empty() && !convert.recipe && !isNamedByFile)
            if (const auto word = formatAmong(convert.run.selection.files))
                return filled("il manque le format voulu ; vouliez-vous dire --to {} ?"_fr, {*word});
        if (convert.target.empty() && !convert.recipe && !isNamedByFile)
            return "il manque le format voulu : --to FORMAT, par exemple --to png"_fr;
        if (!convert.target.empty() && convert.recipe)
            return "--to et --recipe ne vont pas ensemble"_fr;
        return places(convert.run);
    }
    std::string operator()(const OptimizeArguments& optimize) const
    {
        if (!optimize.run.overrides.has(&ConversionOptions::maxFileBytes))
            return "il manque le poids voulu : --max-size TAILLE, par exemple --max-size 2MB"_fr;
        return places(optimize.run);
    }
    std::string operator()(const StripArguments& strip) const
    {
        const OptionOverrides& asked = strip.run.overrides;
        if (asked.has(&ConversionOptions::metadata) && asked.values().metadata == MetadataPolicy::keep)
            return "--metadata keep ne retire rien : removeLocation ou removeAll"_fr;
        return places(strip.run);
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
    static std::string files(const FileSelection& selection)
    {
        if (selection.files.empty() && !selection.filesFrom)
            return "il manque au moins un fichier"_fr;
        if (std::ranges::count(selection.files, "-") + (selection.filesFrom == "-" ? 1 : 0) > 1)
            return "l'entrée standard ne peut être lue qu'une fois"_fr;
        return {};
    }
    /// A word among the files that is none and names a format.
    static std::optional<std::string> formatAmong(const std::vector<std::filesystem::path>& files)
    {
        std::error_code ignored;
        for (const std::filesystem::path& each : files)
            if (formatNamed(FormatRegistry::standard(), each.native()) && !std::filesystem::exists(each, ignored))
                return each.native();
        return std::nullopt;
    }
    /// The file of a single result must not be a folder.
    static std::string resultFile(const RunArguments& run)
    {
        std::error_code ignored;
        const auto& file = run.outputFile;
        if (file && (!file->has_filename() || std::filesystem::is_directory(*file, ignored)))
            return filled("« {} » est un dossier : utilisez --out"_fr, {shownPath(*file)});
        return {};
    }
    /// Where files come from and results go.
    static std::string places(const RunArguments& run)
    {
        const bool hasOneSource =
            run.selection.files.size() == 1 && !run.selection.filesFrom && !run.selection.recursive;
        const bool readsPipe = std::ranges::find(run.selection.files, "-") != run.selection.files.end();
        if (std::string missing = files(run.selection); !missing.empty())
            return missing;
        if (run.outputFile && run.outputFolder)
            return "-o et --out ne vont pas ensemble"_fr;
        if (run.outputFile && !hasOneSource)
            return "-o ne vaut que pour un seul fichier ; pour plusieurs, --out DOSSIER"_fr;
        if (readsPipe && (!hasOneSource || !run.outputFile))
            return "- est l'entrée standard, seule source possible alors ; -o FICHIER ou -o - dit où va le résultat"_fr;
        if (run.outputFile == "-" && run.json)
            return "-o - et --json ne vont pas ensemble : tous deux vont sur la sortie standard"_fr;
        return {};
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
            return UsageError{std::move(problem), nameOfChosenCommand()};
        return invocation;
    }
    return UsageError{filled("il manque une commande ; voyez {} --help"_fr, {nameOfChosenCommand()})};
}

/// The library's own messages are English; what went wrong is told again from its parts.
std::string Parser::usageMessage(const CLI::ParseError& error) const
{
    const std::string what = error.what();
    const std::vector<std::string> extras = app_.remaining(true);
    if (!extras.empty())
        return unexpectedMessage(extras.front());
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
        const std::string name = what.substr(0, what.find(':'));
        const CLI::Option* option = chosenCommand().get_option_no_throw(name);
        if (option && option->count() > 1)
            return filled("l'option {} est donnée plusieurs fois"_fr, {name});
        return filled("l'option {} attend une valeur : {}"_fr, {name, option ? option->get_type_name() : ""});
    }
    return filled("il manque une commande ; voyez {} --help"_fr, {nameOfChosenCommand()});
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

struct KindRow {
    Text placeholder;
    ValueKind kind;
};

// What stands for a value in the help tells a shell how to complete it.
constexpr KindRow kinds[] = {
    {"FICHIER"_fr, ValueKind::file},   {"LISTE"_fr, ValueKind::file},       {"RACCOURCI"_fr, ValueKind::file},
    {"DOSSIER"_fr, ValueKind::folder}, {Text{"FORMAT"}, ValueKind::format},
};

ValueKind kindOf(const std::string& placeholder)
{
    const auto* const row =
        std::ranges::find_if(kinds, [&](const KindRow& each) { return each.placeholder.localized() == placeholder; });
    if (row != std::end(kinds))
        return row->kind;
    return placeholder.find('|') == std::string::npos ? ValueKind::other : ValueKind::choice;
}

OptionDescription describedOption(const CLI::Option& option)
{
    OptionDescription result{.description = option.get_description()};
    if (option.get_positional()) {
        result.names = {option.get_name(true)};
        result.value = option.get_type_name().empty() ? result.names.front() : option.get_type_name();
        result.kind = kindOf(result.value);
        return result;
    }
    for (const std::string& name : option.get_snames())
        result.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        result.names.push_back("--" + name);
    if (option.get_items_expected_max() > 0) {
        result.value = option.get_type_name();
        result.kind = kindOf(result.value);
    }
    return result;
}

CommandDescription describedCommand(const CLI::App& command)
{
    CommandDescription result{.name = command.get_name(), .description = command.get_description()};
    for (const CLI::Option* option : command.get_options())
        (option->get_positional() ? result.arguments : result.options).push_back(describedOption(*option));
    for (const CLI::App* each : command.get_subcommands({}))
        result.commands.push_back(describedCommand(*each));
    return result;
}

CommandDescription Parser::described()
{
    addCommandsFor({});
    for (const CommandRow& each : commands)
        (this->*each.addTo)(*app_.get_subcommand(each.name));
    return describedCommand(app_);
}

} // namespace

CommandDescription describedProgram() { return Parser{}.described(); }

Invocation parseArguments(std::span<const std::string> arguments) { return Parser{}.parse(arguments); }

} // namespace nivex::commandline
