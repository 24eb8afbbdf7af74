#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace nivex {

/// Looks up a variable of the environment; none when it is not set.
using Environment = std::function<std::optional<std::string>(const char* name)>;

/// The environment of this process.
Environment processEnvironment();

/// The folders in which NIVEX keeps what belongs to one user. They need not exist yet.
struct UserFolders {
    std::filesystem::path data;          // history and recipes
    std::filesystem::path configuration; // preferences
    std::filesystem::path cache;         // what may be lost at any time

    /// "NIVEX" below $XDG_DATA_HOME, $XDG_CONFIG_HOME and $XDG_CACHE_HOME; where these are not absolute paths, below
    /// ~/.local/share, ~/.config and ~/.cache.
    static UserFolders of(const Environment& environment);
};

} // namespace nivex
