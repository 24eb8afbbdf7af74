#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"
#include "NIVEX/CommandLine/Console.hpp"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace nivex::commandline {

/// A file to work on. Its path is kept as one text: a walk may go down thousands of levels, and a path object holds
/// each level by itself.
struct ListedFile {
    static constexpr std::size_t notWalked = std::string::npos;

    std::string path;
    std::size_t treeStart = notWalked; // where the part begins that outputs in a chosen folder keep

    bool wasWalked() const { return treeStart != notWalked; }
    /// Where it stood in the folder that was walked; empty for a file that was named itself.
    std::filesystem::path folderInTree() const;

    bool operator==(const ListedFile&) const = default;
};

/// What a selection stands for.
struct FileList {
    std::vector<ListedFile> files;     // in the order named; the files of a folder in the order of their names
    std::vector<std::string> problems; // French sentences: a list or a folder that could not be read
    std::vector<std::string> passed;   // French sentences: links of a walked folder that lead nowhere

    std::vector<std::filesystem::path> paths() const;
};

std::vector<std::filesystem::path> pathsOf(std::span<const ListedFile> files);

/// Says what could not be read or was passed over.
void tell(Console& console, const FileList& list);

/// Reads the list of names and walks the folders of a selection. Hidden files and links to folders are left out of a
/// walk; without `recursive` a folder is listed as it is, for detection to refuse.
FileList listFiles(const FileSelection& selection);

} // namespace nivex::commandline
