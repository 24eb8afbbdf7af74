#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>

namespace CLI {
class App;
} // namespace CLI

namespace nivex::commandline {

// How the commands describe their options to the argument library, in French.

/// Thrown where a value is read, caught where parsing began.
struct BadValue {
    std::string message;
};

/// A word that the library must take for nothing but a word: it would look for an option behind a dash even after "--",
/// and for a list between brackets. The functions below read it as it was.
std::string protectedWord(const std::string& word);
std::string unprotected(const std::string& word);

using TextReader = std::function<void(const std::string&)>;

/// A sub-command, with its own help.
CLI::App& addCommand(CLI::App& parent, const char* name, Text description);
void speakFrench(CLI::App& app);

void addFlag(CLI::App& command, const char* names, bool& place, Text description);
void addText(CLI::App& command, const std::string& names, const std::string& placeholder,
             const std::string& description, const TextReader& read);
/// A positional argument.
void addWord(CLI::App& command, Text name, Text description, const TextReader& read);
void addSelection(CLI::App& command, FileSelection& selection);
/// Where files come from and results go, and how the work is told of.
void addPlaces(CLI::App& command, RunArguments& run);
/// The options that `convert`, `optimize` and `recipe run` share: places and settings.
void addRun(CLI::App& command, RunArguments& run);
void addVerbose(CLI::App& command, bool& place);
void addSkipExisting(CLI::App& command, RunArguments& run);
/// The settings of conversions, all of them or those of one kind.
void addOverrides(CLI::App& command, OptionOverrides& overrides, std::optional<ConversionOptionKind> only = {});

/// "--dpi".
template <class Field>
std::string typedName(const ConversionSetting<Field>& setting)
{
    return "--" + std::string{setting.typed};
}

[[noreturn]] void refuse(const std::string& option, const std::string& value);
/// `choices` are the words between bars of which the value should have been one.
[[noreturn]] void refuseChoice(const std::string& option, const std::string& value, const std::string& choices);

/// A number that is all of the text; a fraction may be written with a comma. Refuses anything else.
template <class Number>
Number numberOf(const std::string& option, const std::string& text)
{
    std::string written = text;
    if constexpr (std::is_floating_point_v<Number>)
        std::ranges::replace(written, ',', '.');
    Number number{};
    const auto [end, failure] = std::from_chars(written.data(), written.data() + written.size(), number);
    if (failure != std::errc{} || end != written.data() + written.size())
        refuse(option, text);
    return number;
}

/// The format of that identifier or extension; refuses any other word with a suggestion.
FormatID formatOf(const std::string& word);
/// The family of that stored name; refuses any other with a suggestion.
FormatFamily familyNamed(const std::string& name);
/// A size such as 500KB; refuses what is none.
std::int64_t sizeOf(const std::string& option, const std::string& text);

} // namespace nivex::commandline
