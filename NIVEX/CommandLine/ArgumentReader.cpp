#include "NIVEX/CommandLine/ArgumentReader.hpp"

#include "NIVEX/CommandLine/Size.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

namespace nivex::commandline {
namespace {

template <class Enum>
std::string choices()
{
    std::string names;
    for (const Enum each : allOptions<Enum>())
        names.append(names.empty() ? "" : "|").append(storedName(each));
    return names;
}

template <class Enum>
void addChoice(CLI::App& command, const char* option, std::optional<Enum>& place, Text description)
{
    const std::string described = description.localized() + " : " + choices<Enum>();
    addText(command, option, "CHOIX", described, [option, &place](const std::string& value) {
        place = optionStoredAs<Enum>(value);
        if (!place)
            throw BadValue{filled("valeur refusée pour {} : « {} » (au choix : {})"_fr,
                                  {option, validUtf8(value), choices<Enum>()})};
    });
}

template <class Number>
void addNumber(CLI::App& command, const char* option, const char* placeholder, std::optional<Number>& place,
               const OptionRange<Number>& range, Text description)
{
    addText(command, option, placeholder, description, [option, &place, &range](const std::string& value) {
        place = numberOf<Number>(option, value);
        hold(*place, range);
    });
}

// No argument holds a NUL byte, so it cannot be taken for a part of one.
constexpr char protection = '\0';

} // namespace

std::string protectedWord(const std::string& word) { return protection + word; }

std::string unprotected(const std::string& word) { return word.starts_with(protection) ? word.substr(1) : word; }

void refuse(const char* option, const std::string& value)
{
    throw BadValue{filled("valeur refusée pour {} : « {} »"_fr, {option, validUtf8(value)})};
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
    app.set_help_flag("-h,--help", "Affiche cette aide"_fr);
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

void addText(CLI::App& command, const char* names, const char* placeholder, const std::string& description,
             const TextReader& read)
{
    const auto readPlain = [read](const std::string& value) { read(unprotected(value)); };
    command.add_option_function<std::string>(names, readPlain, description)->type_name(placeholder);
}

void addWord(CLI::App& command, const char* name, Text description, const TextReader& read)
{
    addText(command, name, "", description, read);
}

void addSelection(CLI::App& command, FileSelection& selection)
{
    command
        .add_option_function<std::vector<std::string>>(
            "FICHIER",
            [&selection](const std::vector<std::string>& names) {
                selection.files.clear();
                std::ranges::transform(names, std::back_inserter(selection.files), unprotected);
            },
            std::string{"Fichiers à traiter"_fr})
        ->type_name("");
    addText(command, "--files-from", "LISTE", "Lit d'autres noms dans ce fichier, ou sur l'entrée standard avec -"_fr,
            [&selection](const std::string& value) { selection.filesFrom = value; });
    addFlag(command, "-0", selection.namesEndWithNul, "Les noms de la liste se terminent par un octet nul"_fr);
    addFlag(command, "-r,--recursive", selection.recursive, "Parcourt les dossiers"_fr);
}

void addRun(CLI::App& command, RunArguments& run)
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

void addOverrides(CLI::App& command, OptionOverrides& overrides)
{
    addNumber(command, "--quality", "0..1", overrides.quality, optionRanges::quality,
              "Qualité des images avec perte"_fr);
    addChoice(command, "--metadata", overrides.metadata, "Métadonnées"_fr);
    addChoice(command, "--color-profile", overrides.colorProfile, "Profil colorimétrique"_fr);
    addNumber(command, "--max-dimension", "PX", overrides.maxPixelDimension, optionRanges::maxPixelDimension,
              "Grand côté maximal, en pixels"_fr);
    addChoice(command, "--flatten-background", overrides.flattenBackground, "Fond des images opaques"_fr);
    addNumber(command, "--dpi", "N", overrides.renderDPI, optionRanges::renderDPI,
              "Résolution de rendu des pages, en points par pouce"_fr);
    addChoice(command, "--page-background", overrides.pageBackground, "Fond des pages"_fr);
    command.add_flag_callback(
        "--remove-background", [&overrides] { overrides.removeBackground = true; }, std::string{"Détoure le sujet"_fr});
    addText(command, "--max-size", "TAILLE", "Poids cible, par exemple 500KB ou 2MB"_fr,
            [&overrides](const std::string& value) {
                overrides.maxFileBytes = sizeOf("--max-size", value);
                hold(*overrides.maxFileBytes, optionRanges::maxFileBytes);
            });
    addChoice(command, "--video-quality", overrides.videoQuality, "Définition vidéo"_fr);
    addChoice(command, "--video-codec", overrides.videoCodec, "Codec vidéo"_fr);
    addNumber(command, "--audio-bit-rate", "BITS", overrides.audioBitRate, optionRanges::audioBitRate,
              "Débit du son, en bits par seconde"_fr);
}

FormatFamily familyNamed(const std::string& name)
{
    if (const auto family = familyStoredAs(name))
        return *family;
    std::vector<std::string> names;
    for (const FormatFamily family : allFamilies())
        names.emplace_back(storedName(family));
    throw BadValue{filled("famille inconnue : « {} »."_fr, {validUtf8(name)}) + suggestion(name, names)};
}

std::int64_t sizeOf(const char* option, const std::string& text)
{
    const auto size = parseSize(text);
    if (!size)
        refuse(option, text);
    return *size;
}

} // namespace nivex::commandline
