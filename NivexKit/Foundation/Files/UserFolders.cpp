#include "NivexKit/Foundation/Files/UserFolders.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace nivex {

namespace fs = std::filesystem;

namespace {

fs::path homeFolder(const Environment& environment)
{
    if (const auto home = environment("HOME"); home && fs::path{*home}.is_absolute())
        return *home;
    const passwd* user = ::getpwuid(::getuid());
    return user && user->pw_dir ? fs::path{user->pw_dir} : fs::path{"/"};
}

fs::path folder(const Environment& environment, const char* variable, const char* belowHome)
{
    // The base directory rules say to ignore a relative path.
    if (const auto base = environment(variable); base && fs::path{*base}.is_absolute())
        return fs::path{*base} / "NIVEX";
    return homeFolder(environment) / belowHome / "NIVEX";
}

} // namespace

Environment processEnvironment()
{
    return [](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>{value} : std::nullopt;
    };
}

UserFolders UserFolders::of(const Environment& environment)
{
    return {.data = folder(environment, "XDG_DATA_HOME", ".local/share"),
            .configuration = folder(environment, "XDG_CONFIG_HOME", ".config"),
            .cache = folder(environment, "XDG_CACHE_HOME", ".cache")};
}

} // namespace nivex
