#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace nivex::commandline {

/// A file to work on, and where it stood in a folder that was walked: outputs in a chosen folder keep that tree.
struct ListedFile {
    std::filesystem::path path;
    std::filesystem::path folderInTree; // relative; empty for a file that was named itself

    bool operator==(const ListedFile&) const = default;
};

/// What a selection stands for.
struct FileList {
    std::vector<ListedFile> files;     // in the order named; the files of a folder in the order of their names
    std::vector<std::string> problems; // French sentences: a list or a folder that could not be read
};

/// Reads the list of names and walks the folders of a selection. Hidden files and links to folders are left out of a
/// walk; without `recursive` a folder is listed as it is, for detection to refuse.
FileList listFiles(const FileSelection& selection);

} // namespace nivex::commandline
