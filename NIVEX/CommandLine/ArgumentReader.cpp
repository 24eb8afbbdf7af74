#include "NIVEX/CommandLine/ArgumentReader.hpp"

#include "NIVEX/CommandLine/FormatNames.hpp"
#include "NIVEX/CommandLine/Size.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

namespace nivex::commandline {
namespace {

/// "keep|removeAll".
std::string joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text.append(text.empty() ? "" : "|").append(name);
    return text;
}

template <class Enum>
std::string choices()
{
    std::vector<std::string> names;
    for (const Enum each : allOptions<Enum>())
        names.emplace_back(storedName(each));
    return joined(names);
}

std::string refusal(const std::string& option, const std::string& value)
{
    return filled("valeur refusée pour {} : « {} »"_fr, {option, validUtf8(value)});
}

/// What stands for the value of a setting that is no choice.
std::string placeholder(SettingUnit unit)
{
    switch (unit) {
    case SettingUnit::none:
        return {};
    case SettingUnit::share:
        return "0..1";
    case SettingUnit::pixels:
        return "PX";
    case SettingUnit::dotsPerInch:
        return "N";
    case SettingUnit::bytes:
        return "TAILLE"_fr;
    case SettingUnit::bitsPerSecond:
        return "BITS";
    }
    return {};
}

template <class Field>
using ValueOf = typename ConversionSetting<Field>::Value;

template <class Field>
ValueOf<Field> readValue(const ConversionSetting<Field>& setting, const std::string& text)
{
    using Value = ValueOf<Field>;
    const std::string option = typedName(setting);
    if constexpr (std::is_enum_v<Value>) {
        if (const auto value = optionStoredAs<Value>(text))
            return *value;
        refuseChoice(option, text, choices<Value>());
    } else {
        Value value{};
        if constexpr (std::is_same_v<Value, std::int64_t>)
            value = setting.unit == SettingUnit::bytes ? sizeOf(option, text) : numberOf<Value>(option, text);
        else
            value = numberOf<Value>(option, text);
        if (setting.range && !setting.range->contains(value))
            throw BadValue{refusal(option, text) + (setting.unit == SettingUnit::share ? " (0..1)" : "") + ". " +
                           setting.range->whenOutside.localized()};
        return value;
    }
}

template <class Field>
void addSetting(CLI::App& command, const ConversionSetting<Field>& setting, OptionOverrides& overrides)
{
    using Value = ValueOf<Field>;
    const std::string description = setting.description;
    if constexpr (std::is_same_v<Value, bool>) {
        command.add_flag_callback(
            typedName(setting), [&] { overrides.set(setting.field, true); }, description);
    } else {
        std::string value = placeholder(setting.unit);
        if constexpr (std::is_enum_v<Value>)
            value = choices<Value>();
        addText(command, typedName(setting), value, description,
                [&](const std::string& text) { overrides.set(setting.field, readValue(setting, text)); });
    }
}

// No argument holds a NUL byte, so it cannot be taken for a part of one.
constexpr char protection = '\0';

} // namespace

std::string protectedWord(const std::string& word) { return protection + word; }

std::string unprotected(const std::string& word) { return word.starts_with(protection) ? word.substr(1) : word; }

void refuse(const std::string& option, const std::string& value) { throw BadValue{refusal(option, value)}; }

void refuseChoice(const std::string& option, const std::string& value, const std::string& choices)
{
    throw BadValue{filled("valeur refusée pour {} : « {} » (au choix : {})"_fr, {option, validUtf8(value), choices})};
}

void speakFrench(CLI::App& app)
{
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->column_width(34);
    formatter->label("Usage", "Utilisation "_fr);
    formatter->label("SUBCOMMAND", "COMMANDE"_fr);
    formatter->label("Positionals", "Arguments "_fr);
    formatter->label("REQUIRED", "");
    app.formatter(formatter);
    app.option_defaults()->group("Options "_fr);
    app.set_help_flag("-h,--help", "Affiche cette aide"_fr)->group("Options "_fr);
}

CLI::App& addCommand(CLI::App& parent, const char* name, Text description)
{
    CLI::App& command = *parent.add_subcommand(name, description.localized());
    command.group("Commandes "_fr);
    speakFrench(command);
    return command;
}

void addFlag(CLI::App& command, const char* names, bool& place, Text description)
{
    command.add_flag(names, place, description.localized());
}

void addText(CLI::App& command, const std::string& names, const std::string& placeholder,
             const std::string& description, const TextReader& read)
{
    const auto readPlain = [read](const std::string& value) { read(unprotected(value)); };
    command.add_option_function<std::string>(names, readPlain, description)->type_name(placeholder);
}

void addWord(CLI::App& command, Text name, Text description, const TextReader& read)
{
    addText(command, name, "", description, read);
}

void addSelection(CLI::App& command, FileSelection& selection)
{
    command
        .add_option_function<std::vector<std::string>>(
            "FICHIER"_fr.localized(),
            [&selection](const std::vector<std::string>& names) {
                selection.files.clear();
                std::ranges::transform(names, std::back_inserter(selection.files), unprotected);
            },
            std::string{"Fichiers à traiter"_fr})
        ->type_name("");
    addText(command, "--files-from", "LISTE"_fr,
            "Lit d'autres noms dans ce fichier, ou sur l'entrée standard avec -"_fr,
            [&selection](const std::string& value) { selection.filesFrom = value; });
    addFlag(command, "-0", selection.namesEndWithNul, "Les noms de la liste se terminent par un octet nul"_fr);
    addFlag(command, "-r,--recursive", selection.recursive, "Parcourt les dossiers"_fr);
}

void addPlaces(CLI::App& command, RunArguments& run)
{
    addSelection(command, run.selection);
    addText(command, "--out", "DOSSIER"_fr, "Dossier des résultats ; sans lui, à côté de l'original"_fr,
            [&run](const std::string& value) {
                if (value.empty())
                    throw BadValue{"l'option --out attend un dossier"_fr};
                run.outputFolder = value;
            });
    addText(command, "-o", "FICHIER"_fr, "Nom du résultat d'un seul fichier ; - est la sortie standard"_fr,
            [&run](const std::string& value) {
                if (value.empty())
                    throw BadValue{"l'option -o attend un fichier"_fr};
                run.outputFile = value;
            });
    addFlag(command, "--keep-dates", run.keepDates, "Donne aux résultats la date de leur original"_fr);
    addText(command, "--jobs", "N", "Nombre de conversions en même temps"_fr, [&run](const std::string& value) {
        run.jobs = numberOf<int>("--jobs", value);
        if (*run.jobs < 1)
            refuse("--jobs", value);
    });
    addFlag(command, "--json", run.json, "Un objet JSON par fichier terminé"_fr);
    addFlag(command, "--quiet", run.quiet, "N'affiche ni progression ni bilan"_fr);
    addVerbose(command, run.verbose);
    addFlag(command, "--dry-run", run.dryRun, "Montre ce qui serait fait, sans rien écrire"_fr);
}

void addRun(CLI::App& command, RunArguments& run)
{
    addPlaces(command, run);
    addOverrides(command, run.overrides);
}

void addOverrides(CLI::App& command, OptionOverrides& overrides, std::optional<ConversionOptionKind> only)
{
    forEachSetting([&](const auto& setting) {
        if (!only || setting.kind == *only)
            addSetting(command, setting, overrides);
    });
}

void addVerbose(CLI::App& command, bool& place)
{
    addFlag(command, "--verbose", place, "Dit aussi, en anglais, la cause technique de chaque problème"_fr);
}

void addSkipExisting(CLI::App& command, RunArguments& run)
{
    addFlag(command, "--skip-existing", run.skipExisting, "Passe les fichiers dont le résultat est déjà là"_fr);
}

FormatID formatOf(const std::string& word)
{
    const FormatRegistry& registry = FormatRegistry::standard();
    if (const FileFormat* format = formatNamed(registry, word))
        return format->id;
    throw BadValue{unknownFormat(registry, word)};
}

FormatFamily familyNamed(const std::string& name)
{
    if (const auto family = familyStoredAs(name))
        return *family;
    std::vector<std::string> names;
    for (const FormatFamily family : allFamilies())
        names.emplace_back(storedName(family));
    std::string nearest = suggestion(name, names);
    if (nearest.empty())
        nearest = filled(" Au choix : {}"_fr, {joined(names)});
    throw BadValue{filled("famille inconnue : « {} »."_fr, {validUtf8(name)}) + nearest};
}

std::int64_t sizeOf(const std::string& option, const std::string& text)
{
    const auto size = parseSize(text);
    if (!size)
        refuse(option, text);
    return *size;
}

} // namespace nivex::commandline
