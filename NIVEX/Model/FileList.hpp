#pragma once

#include "NivexKit/Foundation/Running/CancellationFlag.hpp"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace nivex {

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

    /// Adds what is in a folder and in the folders below it. Hidden files and links to folders are left out. Ends early
    /// once `cancellation` is set.
    void addTree(std::string folder, const CancellationFlag& cancellation = {});
};

std::vector<std::filesystem::path> pathsOf(std::span<const ListedFile> files);

} // namespace nivex
