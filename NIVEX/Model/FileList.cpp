#include "NIVEX/Model/FileList.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

namespace nivex {

namespace fs = std::filesystem;

namespace {

/// The folder's own name opens the tree, so that two folders walked at once stay apart.
std::size_t treeStartOf(std::string_view folder)
{
    const std::size_t end = folder.find_last_not_of('/');
    if (end == std::string_view::npos)
        return folder.size();
    const std::size_t start = folder.substr(0, end + 1).find_last_of('/') + 1; // 0 without a slash
    const std::string_view name = folder.substr(start, end + 1 - start);
    return name == "." || name == ".." ? (folder.ends_with('/') ? folder.size() : folder.size() + 1) : start;
}

/// Walks one folder. Only the names of the folders that are still to come are held, however deep the tree.
class Walk {
public:
    Walk(FileList& list, std::string folder, const CancellationFlag& cancellation)
        : list_{list}, cancellation_{cancellation}, treeStart_{treeStartOf(folder)}
    {
        visit(std::move(folder));
    }

private:
    struct Entry {
        std::string name;
        fs::file_type type;

        bool operator<(const Entry& other) const { return name < other.name; }
    };

    /// Level by level on the heap: the path is one text that grows and shrinks with the walk.
    void visit(std::string path)
    {
        struct Level {
            std::size_t pathLength;
            std::vector<Entry> entries;
            std::size_t next = 0;
        };
        std::vector<Level> levels;
        levels.push_back({path.size(), entriesOf(path)});
        while (!levels.empty() && !cancellation_.isSet()) {
            Level& level = levels.back();
            path.resize(level.pathLength);
            if (level.next == level.entries.size()) {
                levels.pop_back();
                continue;
            }
            const Entry& entry = level.entries[level.next++];
            if (!path.ends_with('/'))
                path += '/';
            path += entry.name;
            if (entry.type == fs::file_type::directory)
                levels.push_back({path.size(), entriesOf(path)});
            else if (entry.type == fs::file_type::not_found)
                list_.passed.push_back(filled("Le lien « {} » ne mène nulle part."_fr, {shownPath(path)}));
            else
                list_.files.push_back({path, treeStart_});
        }
    }

    /// The visible files of a folder, its folders, and the links that lead nowhere, by name.
    std::vector<Entry> entriesOf(const std::string& folder)
    {
        std::error_code failure;
        std::vector<Entry> entries;
        for (fs::directory_iterator each{folder, failure}, end; !failure && each != end; each.increment(failure)) {
            const std::string& path = each->path().native();
            std::string name = path.substr(path.find_last_of('/') + 1);
            std::error_code ignored;
            const fs::file_type type = each->status(ignored).type();
            const bool isLinkToFolder = type == fs::file_type::directory && each->is_symlink(ignored);
            if (!name.starts_with('.') && !isLinkToFolder)
                entries.push_back({std::move(name), type});
        }
        if (failure)
            list_.problems.push_back(filled("Le dossier « {} » ne peut pas être lu."_fr, {shownPath(folder)}));
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    FileList& list_;
    const CancellationFlag& cancellation_;
    std::size_t treeStart_;
};

} // namespace

fs::path ListedFile::folderInTree() const
{
    return wasWalked() ? fs::path{path.substr(std::min(treeStart, path.size()))}.parent_path() : fs::path{};
}

std::vector<fs::path> FileList::paths() const { return pathsOf(files); }

void FileList::addTree(std::string folder, const CancellationFlag& cancellation)
{
    Walk{*this, std::move(folder), cancellation};
}

std::vector<fs::path> pathsOf(std::span<const ListedFile> files)
{
    std::vector<fs::path> result;
    result.reserve(files.size());
    for (const ListedFile& file : files)
        result.emplace_back(file.path);
    return result;
}

} // namespace nivex
