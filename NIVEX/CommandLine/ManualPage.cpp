#include "NIVEX/CommandLine/ManualPage.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cctype>
#include <span>
#include <utility>

namespace nivex::commandline {
namespace {

struct Row {
    std::string_view term;
    Text meaning;
};

constexpr Row exitStatuses[] = {
    {"0", "chaque fichier a donné ce qui était demandé"_fr},
    {"1", "au moins un fichier ne l'a pas donné ; les autres sont faits"_fr},
    {"2", "l'appel n'a pas été compris ; rien n'a été fait"_fr},
    {"130", "interrompu : les conversions en cours sont annulées"_fr},
};

constexpr Row environment[] = {
    {"NIVEX_LANG", "langue des textes : fr ou en"_fr},
    {"NO_COLOR", "sans couleurs, quelle que soit sa valeur"_fr},
    {"XDG_CONFIG_HOME, XDG_DATA_HOME", "dossiers qui contiennent celui des préférences et celui des données"_fr},
};

constexpr Row files[] = {
    {"~/.config/NIVEX/Preferences.json", "préférences"_fr},
    {"~/.local/share/NIVEX/History.json", "conversions passées"_fr},
    {"~/.local/share/NIVEX/Recipes/", "raccourcis conservés"_fr},
};

/// A text that means nothing to troff.
std::string plain(std::string_view text)
{
    std::string result;
    if (text.starts_with('.') || text.starts_with('\''))
        result = "\\&";
    for (const char each : text) {
        if (each == '\\')
            result += "\\e";
        else if (each == '-')
            result += "\\-";
        else
            result += each;
    }
    return result;
}

std::string bold(std::string_view text) { return "\\fB" + plain(text) + "\\fR"; }
std::string slanted(std::string_view text) { return "\\fI" + plain(text) + "\\fR"; }

class Page {
public:
    void title(const CommandDescription& program, std::string_view version)
    {
        std::string name = program.name;
        std::ranges::transform(name, name.begin(), [](unsigned char each) { return std::toupper(each); });
        line(".TH " + name + " 1 \"\" \"" + program.name + " " + std::string{version} + "\"");
    }
    void section(Text name) { line(".SH " + name.localized()); }
    void line(const std::string& text) { text_.append(text).append("\n"); }
    void term(const std::string& name, const std::string& meaning)
    {
        line(".TP");
        line(name);
        line(plain(meaning));
    }
    void rows(std::span<const Row> rows)
    {
        for (const Row& row : rows)
            term(bold(row.term), row.meaning);
    }

    /// A command with its options; those that only lead to others are told by these.
    void command(const CommandDescription& command, const std::string& leading)
    {
        const std::string name = leading + " " + command.name;
        line(".SS " + plain(name));
        line(plain(command.description + "."));
        line(".PP");
        std::string synopsis = bold(name) + (command.options.empty() ? "" : " [" + slanted("OPTIONS") + "]");
        for (const OptionDescription& argument : command.arguments)
            synopsis += " " + slanted(argument.names.front()) + (argument.kind == ValueKind::file ? "..." : "");
        line(synopsis);
        for (const OptionDescription& argument : command.arguments)
            term(slanted(argument.names.front()), argument.description);
        for (const OptionDescription& option : command.options)
            term(spelled(option), option.description);
        for (const CommandDescription& each : command.commands)
            this->command(each, name);
    }

    std::string take() { return std::move(text_); }

private:
    static std::string spelled(const OptionDescription& option)
    {
        std::string text;
        for (const std::string& name : option.names)
            text += (text.empty() ? "" : ", ") + bold(name);
        return option.kind == ValueKind::none ? text : text + " " + slanted(option.value);
    }

    std::string text_;
};

} // namespace

std::string manualPage(const CommandDescription& program, std::string_view version)
{
    Page page;
    page.title(program, version);
    page.section("NOM"_fr);
    page.line(plain(program.name) + " \\- " + plain("convertit des fichiers sur cette machine"_fr.localized()));
    page.section("SYNOPSIS"_fr);
    page.line(bold(program.name) + " " + slanted("COMMANDE"_fr.localized()) + " [" + slanted("OPTIONS") + "] [" +
              slanted("FICHIER"_fr.localized()) + "...]");
    page.section("DESCRIPTION"_fr);
    page.line(plain(program.description));
    page.line(plain(
        "Les résultats vont sur la sortie standard, progression et messages sur la sortie d'erreur."_fr.localized()));
    page.section("COMMANDES"_fr);
    for (const CommandDescription& each : program.commands)
        page.command(each, program.name);
    page.section("CODE DE RETOUR"_fr);
    page.rows(exitStatuses);
    page.section("ENVIRONNEMENT"_fr);
    page.rows(environment);
    page.section("FICHIERS"_fr);
    page.rows(files);
    return page.take();
}

} // namespace nivex::commandline
