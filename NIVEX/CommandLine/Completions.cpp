#include "NIVEX/CommandLine/Completions.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

#include <functional>

namespace nivex::commandline {
namespace {

using Words = std::vector<std::string>;

std::string joined(const Words& words, std::string_view separator = " ")
{
    std::string text;
    for (const std::string& word : words)
        text.append(text.empty() ? std::string_view{} : separator).append(word);
    return text;
}

/// In single quotes, as all three shells take them.
std::string quoted(std::string_view text)
{
    std::string result = "'";
    for (const char each : text)
        if (each == '\'')
            result += "'\\''";
        else
            result += each;
    return result + "'";
}

Words namesOf(const std::vector<CommandDescription>& commands)
{
    Words names;
    for (const CommandDescription& each : commands)
        names.push_back(each.name);
    return names;
}

Words namesOf(const std::vector<OptionDescription>& options)
{
    Words names;
    for (const OptionDescription& each : options)
        names.insert(names.end(), each.names.begin(), each.names.end());
    return names;
}

using Visit = std::function<void(const CommandDescription&, const Words& path)>;

/// Calls `visit` for a command and all below it; the path leads from the program to the command, both included.
void forEachCommand(const CommandDescription& command, const Visit& visit, Words path = {})
{
    path.push_back(command.name);
    visit(command, path);
    for (const CommandDescription& each : command.commands)
        forEachCommand(each, visit, path);
}

class BashScript {
public:
    BashScript(const CommandDescription& program, const Words& formats) : program_{program}, formats_{formats} {}

    std::string text() const
    {
        const std::string function = "_" + program_.name;
        return "# Completion of " + program_.name + " for bash.\n" + function +
               R"(() {
    local current="${COMP_WORDS[COMP_CWORD]}" previous="${COMP_WORDS[COMP_CWORD - 1]}" path="" i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case "$path ${COMP_WORDS[i]}" in
)" + "            " +
               joined(paths(), " | ") +
               R"() path+=" ${COMP_WORDS[i]}" ;;
        esac
    done
    case "$previous" in
)" + values() +
               R"(    esac
    local commands="" options="" takes_files=""
    case "$path" in
)" + commands() +
               R"(    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [[ $takes_files ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
    fi
}
complete -F )" +
               function + " " + program_.name + "\n";
    }

private:
    static std::string pathOf(const Words& path)
    {
        std::string text;
        for (std::size_t i = 1; i < path.size(); ++i)
            text += " " + path[i];
        return "\"" + text + "\"";
    }

    Words paths() const
    {
        Words paths;
        forEachCommand(program_, [&](const CommandDescription&, const Words& path) {
            if (path.size() > 1)
                paths.push_back(pathOf(path));
        });
        return paths;
    }

    /// What completes the value of an option; nothing for one that only a person knows.
    std::string completer(const OptionDescription& option) const
    {
        const auto generated = [](const std::string& arguments) {
            return "mapfile -t COMPREPLY < <(compgen " + arguments + " -- \"$current\"); ";
        };
        switch (option.kind) {
        case ValueKind::file:
            return "compopt -o filenames; " + generated("-f");
        case ValueKind::folder:
            return "compopt -o filenames; " + generated("-d");
        case ValueKind::format:
            return generated("-W " + quoted(joined(formats_)));
        case ValueKind::choice:
            return generated("-W " + quoted(joined(choicesOf(option))));
        default:
            return {};
        }
    }

    /// An option means the same wherever it stands, so each is told once.
    std::string values() const
    {
        std::string text;
        forEachCommand(program_, [&](const CommandDescription& command, const Words&) {
            for (const OptionDescription& option : command.options) {
                const std::string line =
                    "        " + joined(option.names, " | ") + ") " + completer(option) + "return ;;\n";
                if (option.kind != ValueKind::none && text.find(line) == std::string::npos)
                    text += line;
            }
        });
        return text;
    }

    std::string commands() const
    {
        std::string text;
        forEachCommand(program_, [&](const CommandDescription& command, const Words& path) {
            text += "        " + pathOf(path) + ") commands=" + quoted(joined(namesOf(command.commands))) +
                    " options=" + quoted(joined(namesOf(command.options))) +
                    (command.takesFiles() ? " takes_files=yes" : "") + " ;;\n";
        });
        return text;
    }

    const CommandDescription& program_;
    const Words& formats_;
};

class ZshScript {
public:
    ZshScript(const CommandDescription& program, const Words& formats) : program_{program}, formats_{formats} {}

    std::string text() const
    {
        std::string text = "#compdef " + program_.name + "\n# Completion of " + program_.name + " for zsh.\n";
        forEachCommand(program_, [&](const CommandDescription& command, const Words& path) {
            text += "\n_" + joined(path, "_") + "() {\n" + body(command, path) + "}\n";
        });
        // The file is the function at its first call where zsh finds it by itself, and a script where it is sourced.
        const std::string function = "_" + program_.name;
        return text + "\nif [[ $funcstack[1] == " + function + " ]]; then\n    " + function +
               " \"$@\"\nelse\n    compdef " + function + " " + program_.name + "\nfi\n";
    }

private:
    /// Within "[description]" and ":message:".
    static std::string escaped(std::string_view text)
    {
        std::string result;
        for (const char each : text) {
            if (std::string_view{"[]:\\"}.find(each) != std::string_view::npos)
                result += '\\';
            result += each;
        }
        return result;
    }

    std::string action(const OptionDescription& option) const
    {
        switch (option.kind) {
        case ValueKind::file:
            return "_files";
        case ValueKind::folder:
            return "_files -/";
        case ValueKind::format:
            return "(" + joined(formats_) + ")";
        case ValueKind::choice:
            return "(" + joined(choicesOf(option)) + ")";
        default:
            return {};
        }
    }

    std::string specification(const OptionDescription& option) const
    {
        std::string behind = "[" + escaped(option.description) + "]";
        if (option.kind != ValueKind::none)
            behind += ":" + escaped(option.value) + ":" + action(option);
        std::string text;
        for (const std::string& name : option.names) {
            const std::string_view joint = option.kind == ValueKind::none ? "" : name.starts_with("--") ? "=" : "+";
            text.append(" \\\n        ")
                .append(quoted("(" + joined(option.names) + ")" + name + std::string{joint} + behind));
        }
        return text;
    }

    std::string body(const CommandDescription& command, const Words& path) const
    {
        std::string options;
        for (const OptionDescription& option : command.options)
            options += specification(option);
        if (command.takesFiles())
            options += " \\\n        '*:" + escaped(command.arguments.front().names.front()) + ":_files'";
        if (command.commands.empty())
            return "    _arguments" + options + "\n";
        std::string names;
        std::string cases;
        for (const CommandDescription& each : command.commands) {
            names += "\n        " + quoted(each.name + ":" + escaped(each.description));
            cases += "                " + each.name + ") _" + joined(path, "_") + "_" + each.name + " ;;\n";
        }
        return "    local curcontext=\"$curcontext\" state line\n    local -a commands=(" + names +
               ")\n    _arguments -C" + options +
               " \\\n        '1:command:->command' '*::argument:->argument'\n    case $state in\n"
               "        command) _describe command commands ;;\n        argument)\n            case $words[1] in\n" +
               cases + "            esac ;;\n    esac\n";
    }

    const CommandDescription& program_;
    const Words& formats_;
};

class FishScript {
public:
    FishScript(const CommandDescription& program, const Words& formats) : program_{program}, formats_{formats} {}

    std::string text() const
    {
        std::string text = "# Completion of " + program_.name + " for fish.\n" + begin() + " -f\n";
        forEachCommand(program_, [&](const CommandDescription& command, const Words& path) {
            const Words below = namesOf(command.commands);
            const std::string here = condition(path);
            const std::string nowhereBelow = below.empty() ? here
                                                           : (here.empty() ? "" : here + "; and ") +
                                                                 "not __fish_seen_subcommand_from " + joined(below);
            for (const CommandDescription& each : command.commands)
                text += begin() + " -n " + quoted(nowhereBelow) + " -a " + each.name + " -d " +
                        quoted(each.description) + "\n";
            for (const OptionDescription& option : command.options)
                text += begin() + " -n " + quoted(nowhereBelow) + names(option) + value(option) + " -d " +
                        quoted(option.description) + "\n";
            if (command.takesFiles())
                text += begin() + " -n " + quoted(nowhereBelow) + " -F\n";
        });
        return text;
    }

private:
    std::string begin() const { return "complete -c " + program_.name; }

    /// True behind the commands of a path.
    static std::string condition(const Words& path)
    {
        std::string text;
        for (std::size_t i = 1; i < path.size(); ++i)
            text += (text.empty() ? "" : "; and ") + ("__fish_seen_subcommand_from " + path[i]);
        return text;
    }

    static std::string names(const OptionDescription& option)
    {
        std::string text;
        for (const std::string& name : option.names)
            text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        return text;
    }

    std::string value(const OptionDescription& option) const
    {
        switch (option.kind) {
        case ValueKind::none:
            return {};
        case ValueKind::file:
            return " -r -F";
        case ValueKind::folder:
            return " -x -a '(__fish_complete_directories)'";
        case ValueKind::format:
            return " -x -a " + quoted(joined(formats_));
        case ValueKind::choice:
            return " -x -a " + quoted(joined(choicesOf(option)));
        case ValueKind::other:
            return " -x";
        }
        return {};
    }

    const CommandDescription& program_;
    const Words& formats_;
};

struct ShellRow {
    Shell value;
    std::string_view stored;
};
constexpr ShellRow shells[] = {{Shell::bash, "bash"}, {Shell::zsh, "zsh"}, {Shell::fish, "fish"}};
static_assert(inCaseOrder(shells, Shell::fish));

} // namespace

std::optional<Shell> shellNamed(std::string_view name) { return caseStoredAs(shells, name); }

std::string shellNames()
{
    std::string names;
    for (const ShellRow& row : shells)
        names.append(names.empty() ? "" : "|").append(row.stored);
    return names;
}

std::string completionScript(Shell shell, const CommandDescription& program, const std::vector<std::string>& formats)
{
    switch (shell) {
    case Shell::bash:
        return BashScript{program, formats}.text();
    case Shell::zsh:
        return ZshScript{program, formats}.text();
    case Shell::fish:
        return FishScript{program, formats}.text();
    }
    return {};
}

} // namespace nivex::commandline
