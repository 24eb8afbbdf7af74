#include "NIVEX/CommandLine/Arguments.hpp"

#include "NIVEX/CommandLine/Size.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include "NivexKit/Contract/OptionRanges.hpp"
#include "NivexKit/Foundation/StringTable.hpp"
#include "NivexKit/Foundation/Unicode.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>

#ifndef NIVEX_VERSION
#error "the build names the version"
#endif

namespace nivex::commandline {
namespace {

using TextReader = std::function<void(const std::string&)>;

/// Thrown where a value is read, caught where parsing began.
struct BadValue {
    std::string message;
};

[[noreturn]] void refuse(const char* option, const std::string& value)
{
    throw BadValue{filled("valeur refusée pour {} : « {} »"_fr, {option, validUtf8(value)})};
}

template <class Number>
Number numberOf(const char* option, const std::string& text)
{
    Number number{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc{} || end != text.data() + text.size())
        refuse(option, text);
    return number;
}

template <class Number>
void hold(Number value, const OptionRange<Number>& range)
{
    if (!range.contains(value))
        throw BadValue{range.whenOutside};
}

template <class Enum>
std::string choices()
{
    std::string names;
    for (const Enum each : allOptions<Enum>())
        names.append(names.empty() ? "" : "|").append(storedName(each));
    return names;
}

/// One call's parser: the commands with their options, each bound to the place its value goes to.
class Parser {
public:
    Parser();

    Invocation parse(std::span<const std::string> arguments);

private:
    CLI::App& command(const char* name, Text description);
    void addSelection(CLI::App& command, FileSelection& selection);
    void addRun(CLI::App& command, RunArguments& run);
    void addOverrides(CLI::App& command, OptionOverrides& overrides);
    template <class Enum>
    void addChoice(CLI::App& command, const char* option, std::optional<Enum>& place, Text description);

    static void addFlag(CLI::App& command, const char* names, bool& place, Text description)
    {
        command.add_flag(names, place, description.localized());
    }
    static void addText(CLI::App& command, const char* names, const char* placeholder, const std::string& description,
                        const TextReader& read)
    {
        command.add_option_function<std::string>(names, read, description)->type_name(placeholder);
    }

    Invocation chosen() const;
    std::string usageMessage(const CLI::ParseError& error) const;
    std::string unexpectedMessage() const;
    const CLI::App* chosenCommand() const;

    CLI::App app_;
    IdentifyArguments identify_;
    PlansArguments plans_;
    ConvertArguments convert_;
    OptimizeArguments optimize_;
    FormatsArguments formats_;
    EnginesArguments engines_;
};

void speakFrench(CLI::App& app)
{
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->column_width(34);
    formatter->label("Usage", "Utilisation"_fr);
    formatter->label("OPTIONS", "OPTIONS");
    formatter->label("SUBCOMMAND", "COMMANDE"_fr);
    formatter->label("SUBCOMMANDS", "COMMANDES"_fr);
    formatter->label("Positionals", "Arguments"_fr);
    formatter->label("Subcommands", "Commandes"_fr);
    formatter->label("REQUIRED", "");
    app.formatter(formatter);
    app.set_help_flag("-h,--help", "Affiche cette aide"_fr);
}

Parser::Parser()
    : app_{"NIVEX convertit des fichiers sur cette machine, sans jamais toucher aux originaux."_fr, "nivex"}
{
    speakFrench(app_);
    app_.set_version_flag("--version", "nivex " NIVEX_VERSION, "Affiche la version"_fr);
    app_.require_subcommand(1);

    CLI::App& identify = command("identify", "Reconnaît le vrai format de chaque fichier"_fr);
    addSelection(identify, identify_.selection);
    addFlag(identify, "--json", identify_.json, "Un objet JSON par fichier"_fr);
    addFlag(identify, "--deep", identify_.deep, "Mesure aussi ce que les lecteurs de format savent dire"_fr);

    CLI::App& plans = command("plans", "Montre ce que chaque fichier peut devenir, et ce qui serait perdu"_fr);
    addSelection(plans, plans_.selection);
    addFlag(plans, "--json", plans_.json, "Un objet JSON par fichier"_fr);
    addFlag(plans, "--common", plans_.common, "Seulement les formats que tous les fichiers peuvent devenir"_fr);

    CLI::App& convert = command("convert", "Convertit des fichiers"_fr);
    addRun(convert, convert_.run);
    addText(convert, "--to", "FORMAT", "Format voulu : un identifiant ou une extension"_fr,
            [this](const std::string& value) { convert_.target = value; });

    CLI::App& optimize = command("optimize", "Allège des fichiers sans changer leur format"_fr);
    addRun(optimize, optimize_.run);

    CLI::App& formats = command("formats", "Liste les formats connus"_fr);
    addFlag(formats, "--json", formats_.json, "Un objet JSON par format"_fr);
    addText(formats, "--family", "NOM", "Seulement cette famille"_fr, [this](const std::string& value) {
        formats_.family = familyStoredAs(value);
        if (!formats_.family) {
            std::vector<std::string> names;
            for (const FormatFamily family : allFamilies())
                names.emplace_back(storedName(family));
            throw BadValue{filled("famille inconnue : « {} »."_fr, {validUtf8(value)}) + suggestion(value, names)};
        }
    });

    CLI::App& engines = command("engines", "Liste les douze moteurs de conversion"_fr);
    addFlag(engines, "--json", engines_.json, "Un objet JSON par moteur"_fr);
}

CLI::App& Parser::command(const char* name, Text description)
{
    CLI::App& command = *app_.add_subcommand(name, description.localized());
    speakFrench(command);
    return command;
}

void Parser::addSelection(CLI::App& command, FileSelection& selection)
{
    command
        .add_option_function<std::vector<std::string>>(
            "FICHIER",
            [&selection](const std::vector<std::string>& names) { selection.files.assign(names.begin(), names.end()); },
            std::string{"Fichiers à traiter"_fr})
        ->type_name("");
    addText(command, "--files-from", "LISTE", "Lit d'autres noms dans ce fichier, ou sur l'entrée standard avec -"_fr,
            [&selection](const std::string& value) { selection.filesFrom = value; });
    addFlag(command, "-0", selection.namesEndWithNul, "Les noms de la liste se terminent par un octet nul"_fr);
    addFlag(command, "-r,--recursive", selection.recursive, "Parcourt les dossiers"_fr);
}

void Parser::addRun(CLI::App& command, RunArguments& run)
{
    addSelection(command, run.selection);
    addText(command, "--out", "DOSSIER", "Dossier des résultats ; sans lui, à côté de l'original"_fr,
            [&run](const std::string& value) { run.outputFolder = value; });
    addText(command, "--jobs", "N", "Nombre de conversions en même temps"_fr, [&run](const std::string& value) {
        run.jobs = numberOf<int>("--jobs", value);
        if (*run.jobs < 1)
            refuse("--jobs", value);
    });
    addFlag(command, "--json", run.json, "Un objet JSON par fichier terminé"_fr);
    addFlag(command, "--quiet", run.quiet, "N'affiche pas la progression"_fr);
    addFlag(command, "--dry-run", run.dryRun, "Montre ce qui serait fait, sans rien écrire"_fr);
    addOverrides(command, run.overrides);
}

template <class Enum>
void Parser::addChoice(CLI::App& command, const char* option, std::optional<Enum>& place, Text description)
{
    const std::string described = description.localized() + " : " + choices<Enum>();
    addText(command, option, "CHOIX", described, [option, &place](const std::string& value) {
        place = optionStoredAs<Enum>(value);
        if (!place)
            throw BadValue{filled("valeur refusée pour {} : « {} » (au choix : {})"_fr,
                                  {option, validUtf8(value), choices<Enum>()})};
    });
}

void Parser::addOverrides(CLI::App& command, OptionOverrides& overrides)
{
    addText(command, "--quality", "0..1", "Qualité des images avec perte"_fr, [&](const std::string& value) {
        overrides.quality = numberOf<double>("--quality", value);
        hold(*overrides.quality, optionRanges::quality);
    });
    addChoice(command, "--metadata", overrides.metadata, "Métadonnées"_fr);
    addChoice(command, "--color-profile", overrides.colorProfile, "Profil colorimétrique"_fr);
    addText(command, "--max-dimension", "PX", "Grand côté maximal, en pixels"_fr, [&](const std::string& value) {
        overrides.maxPixelDimension = numberOf<std::int64_t>("--max-dimension", value);
        hold(*overrides.maxPixelDimension, optionRanges::maxPixelDimension);
    });
    addChoice(command, "--flatten-background", overrides.flattenBackground, "Fond des images opaques"_fr);
    addText(command, "--dpi", "N", "Résolution de rendu des pages, en points par pouce"_fr,
            [&](const std::string& value) {
                overrides.renderDPI = numberOf<double>("--dpi", value);
                hold(*overrides.renderDPI, optionRanges::renderDPI);
            });
    addChoice(command, "--page-background", overrides.pageBackground, "Fond des pages"_fr);
    command.add_flag_callback(
        "--remove-background", [&] { overrides.removeBackground = true; }, std::string{"Détoure le sujet"_fr});
    addText(command, "--max-size", "TAILLE", "Poids cible, par exemple 500KB ou 2MB"_fr, [&](const std::string& value) {
        overrides.maxFileBytes = parseSize(value);
        if (!overrides.maxFileBytes)
            refuse("--max-size", value);
        hold(*overrides.maxFileBytes, optionRanges::maxFileBytes);
    });
    addChoice(command, "--video-quality", overrides.videoQuality, "Définition vidéo"_fr);
    addChoice(command, "--video-codec", overrides.videoCodec, "Codec vidéo"_fr);
    addText(command, "--audio-bit-rate", "BITS", "Débit du son, en bits par seconde"_fr, [&](const std::string& value) {
        overrides.audioBitRate = numberOf<std::int64_t>("--audio-bit-rate", value);
        hold(*overrides.audioBitRate, optionRanges::audioBitRate);
    });
}

Invocation Parser::parse(std::span<const std::string> arguments)
{
    try {
        app_.parse(std::vector<std::string>{arguments.rbegin(), arguments.rend()}); // the library takes them last first
        return chosen();
    } catch (const BadValue& bad) {
        return UsageError{bad.message};
    } catch (const CLI::CallForHelp&) {
        return Printout{(chosenCommand() ? chosenCommand() : &app_)->help()};
    } catch (const CLI::CallForVersion& version) {
        return Printout{version.what()};
    } catch (const CLI::ParseError& error) {
        return UsageError{usageMessage(error)};
    }
}

const CLI::App* Parser::chosenCommand() const
{
    const auto commands = app_.get_subcommands();
    return commands.empty() ? nullptr : commands.front();
}

Invocation Parser::chosen() const
{
    const std::string& name = chosenCommand()->get_name();
    if (name == "formats")
        return formats_;
    if (name == "engines")
        return engines_;
    const FileSelection& selection = name == "identify"  ? identify_.selection
                                     : name == "plans"   ? plans_.selection
                                     : name == "convert" ? convert_.run.selection
                                                         : optimize_.run.selection;
    if (selection.files.empty() && !selection.filesFrom)
        return UsageError{filled("{} a besoin d'au moins un fichier"_fr, {name})};
    if (name == "identify")
        return identify_;
    if (name == "plans")
        return plans_;
    if (name == "optimize") {
        if (!optimize_.run.overrides.maxFileBytes)
            return UsageError{"optimize a besoin de --max-size TAILLE"_fr};
        return optimize_;
    }
    if (convert_.target.empty())
        return UsageError{"convert a besoin de --to FORMAT"_fr};
    return convert_;
}

/// The library's own messages are English; what went wrong is told again from its parts.
std::string Parser::usageMessage(const CLI::ParseError& error) const
{
    const std::string what = error.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&error))
        return unexpectedMessage();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return filled("l'option {} attend une seule valeur"_fr, {what.substr(0, what.find(':'))});
    if (!chosenCommand())
        return app_.remaining().empty() ? std::string{"il manque une commande ; voyez nivex --help"_fr}
                                        : unexpectedMessage();
    return filled("appel incompris ; voyez nivex {} --help"_fr, {chosenCommand()->get_name()});
}

std::string Parser::unexpectedMessage() const
{
    const CLI::App* command = chosenCommand();
    const std::vector<std::string> extras = app_.remaining(true);
    const std::string word = extras.empty() ? std::string{} : extras.front();
    std::vector<std::string> names;
    if (!command && !word.starts_with('-')) {
        for (const CLI::App* each : app_.get_subcommands({}))
            names.push_back(each->get_name());
        return filled("commande inconnue : « {} »."_fr, {validUtf8(word)}) + suggestion(word, names);
    }
    for (const CLI::Option* option : (command ? command : &app_)->get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return filled("option inconnue : « {} »."_fr, {validUtf8(word)}) + suggestion(word, names);
}

template <class Value, class Place>
void overrideWith(const std::optional<Value>& value, Place& place)
{
    if (value)
        place = *value;
}

} // namespace

ConversionOptions OptionOverrides::appliedTo(ConversionOptions base) const
{
    overrideWith(quality, base.quality);
    overrideWith(metadata, base.metadata);
    overrideWith(colorProfile, base.colorProfile);
    overrideWith(maxPixelDimension, base.maxPixelDimension);
    overrideWith(flattenBackground, base.flattenBackground);
    overrideWith(renderDPI, base.renderDPI);
    overrideWith(pageBackground, base.pageBackground);
    overrideWith(removeBackground, base.removeBackground);
    overrideWith(maxFileBytes, base.maxFileBytes);
    overrideWith(videoQuality, base.videoQuality);
    overrideWith(videoCodec, base.videoCodec);
    overrideWith(audioBitRate, base.audioBitRate);
    return base;
}

std::vector<OptionOverrides::Given> OptionOverrides::given() const
{
    using Kind = ConversionOptionKind;
    const Given all[] = {
        {"--quality", Kind::quality, quality.has_value()},
        {"--metadata", Kind::metadata, metadata.has_value()},
        {"--color-profile", Kind::colorProfile, colorProfile.has_value()},
        {"--max-dimension", Kind::dimensions, maxPixelDimension.has_value()},
        {"--flatten-background", Kind::background, flattenBackground.has_value()},
        {"--dpi", Kind::renderResolution, renderDPI.has_value()},
        {"--page-background", Kind::background, pageBackground.has_value()},
        {"--remove-background", Kind::removeBackground, removeBackground.has_value()},
        {"--max-size", Kind::targetSize, maxFileBytes.has_value()},
        {"--video-quality", Kind::videoQuality, videoQuality.has_value()},
        {"--video-codec", Kind::videoQuality, videoCodec.has_value()},
        {"--audio-bit-rate", Kind::audioQuality, audioBitRate.has_value()},
    };
    std::vector<Given> given;
    std::copy_if(std::begin(all), std::end(all), std::back_inserter(given),
                 [](const Given& each) { return each.isGiven; });
    return given;
}

Invocation parseArguments(std::span<const std::string> arguments) { return Parser{}.parse(arguments); }

} // namespace nivex::commandline
