#pragma once

#include <string>
#include <vector>

namespace nivex::commandline {

/// What the value of an option or argument is, for a shell that completes it.
enum class ValueKind {
    none, // a flag has no value
    file,
    folder,
    format,
    choice, // one of a few words
    other,
};

/// An option, or an argument that has no dashes.
struct OptionDescription {
    std::vector<std::string> names; // with their dashes, the short ones first
    ValueKind kind = ValueKind::none;
    std::string value; // what stands for it in the help: "DOSSIER"; the words of a choice between bars
    std::string description;
};

/// A command with all that may be typed behind it; the program itself is one.
struct CommandDescription {
    std::string name;
    std::string description;
    std::vector<OptionDescription> options;
    std::vector<OptionDescription> arguments;
    std::vector<CommandDescription> commands;

    bool takesFiles() const;
};

/// The program with all its commands, as they are parsed and in the language in use.
CommandDescription describedProgram();

/// The words of a choice.
std::vector<std::string> choicesOf(const OptionDescription& option);

} // namespace nivex::commandline
