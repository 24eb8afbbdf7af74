#include "NIVEX/CommandLine/FileList.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

namespace nivex::commandline {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> namesIn(std::istream& list, char end)
{
    std::vector<fs::path> names;
    for (std::string name; std::getline(list, name, end);)
        if (!name.empty())
            names.emplace_back(name);
    return names;
}

} // namespace

void tell(Console& console, const FileList& list)
{
    for (const std::string& problem : list.problems)
        console.note(failed(problem));
    for (const std::string& passed : list.passed)
        console.note(warned(passed));
    if (list.files.empty() && list.problems.empty())
        console.note("Aucun fichier à traiter."_fr);
}

FileList listFiles(const FileSelection& selection)
{
    FileList list;
    std::vector<fs::path> names = selection.files;
    if (selection.filesFrom) {
        const char end = selection.namesEndWithNul ? '\0' : '\n';
        std::vector<fs::path> listed;
        if (*selection.filesFrom == "-") {
            listed = namesIn(std::cin, end);
        } else if (std::ifstream file{*selection.filesFrom, std::ios::binary}) {
            listed = namesIn(file, end);
        } else {
            list.problems.push_back(
                filled("La liste « {} » ne peut pas être lue."_fr, {shownPath(*selection.filesFrom)}));
        }
        std::move(listed.begin(), listed.end(), std::back_inserter(names));
    }
    for (const fs::path& name : names) {
        std::error_code ignored;
        if (selection.recursive && fs::is_directory(name, ignored))
            list.addTree(name.native());
        else
            list.files.push_back({name.native()});
    }
    return list;
}

} // namespace nivex::commandline
