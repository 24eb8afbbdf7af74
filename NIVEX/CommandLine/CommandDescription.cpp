#include "NIVEX/CommandLine/CommandDescription.hpp"

#include <algorithm>
#include <sstream>

namespace nivex::commandline {

bool CommandDescription::takesFiles() const
{
    return std::ranges::find(arguments, ValueKind::file, &OptionDescription::kind) != arguments.end();
}

std::vector<std::string> choicesOf(const OptionDescription& option)
{
    std::vector<std::string> choices;
    std::istringstream words{option.value};
    for (std::string word; std::getline(words, word, '|');)
        choices.push_back(word);
    return choices;
}

} // namespace nivex::commandline
