#pragma once

#include <filesystem>
#include <string>

namespace nivex {

/// A file or folder that an engine has made, looked at, and what it is to be called.
struct MadeFile {
    std::filesystem::path location; // in the workspace
    std::string baseName;           // begins with the base name of the step
    std::string extension;          // without its dot; may be empty
    bool isCompanion = false;       // a file of the same step refers to it by its name

    std::string fileName() const { return extension.empty() ? baseName : baseName + "." + extension; }

    bool operator==(const MadeFile&) const = default;
};

} // namespace nivex
