#include "NIVEX/CommandLine/FileList.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
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

/// The folder's own name opens the tree, so that two folders walked at once stay apart.
fs::path rootInTree(const fs::path& folder)
{
    const fs::path normal = (folder / "").lexically_normal().parent_path();
    const fs::path name = normal.filename();
    return name == "." || name == ".." ? fs::path{} : name;
}

class Walk {
public:
    explicit Walk(FileList& list) : list_{list} {}

    void folder(const fs::path& folder, const fs::path& inTree)
    {
        std::error_code failure;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator each{folder, failure}, end; !failure && each != end; each.increment(failure))
            if (!each->path().filename().native().starts_with('.'))
                entries.push_back(*each);
        if (failure)
            list_.problems.push_back(filled("Le dossier « {} » ne peut pas être lu."_fr, {shownPath(folder)}));
        std::sort(entries.begin(), entries.end());
        for (const fs::directory_entry& entry : entries)
            visit(entry, inTree);
    }

private:
    void visit(const fs::directory_entry& entry, const fs::path& inTree)
    {
        std::error_code ignored;
        if (!entry.is_directory(ignored))
            list_.files.push_back({entry.path(), inTree});
        else if (!entry.is_symlink(ignored))
            folder(entry.path(), inTree / entry.path().filename());
    }

    FileList& list_;
};

} // namespace

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
            Walk{list}.folder(name, rootInTree(name));
        else
            list.files.push_back({name, {}});
    }
    return list;
}

} // namespace nivex::commandline
