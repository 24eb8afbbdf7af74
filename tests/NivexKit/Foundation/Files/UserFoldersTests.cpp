#include "NivexKit/Foundation/Files/UserFolders.hpp"

#include <gtest/gtest.h>

#include <map>

namespace nivex {
namespace {

TEST(UserFolders, FollowTheBaseDirectoryRules)
{
    struct Case {
        const char* fault;
        std::map<std::string, std::string> variables;
        const char* data;
        const char* configuration;
        const char* cache;
    };
    const Case cases[] = {
        {"no variable but the home folder",
         {{"HOME", "/home/a"}},
         "/home/a/.local/share/NIVEX",
         "/home/a/.config/NIVEX",
         "/home/a/.cache/NIVEX"},
        {"all set",
         {{"HOME", "/home/a"}, {"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}, {"XDG_CACHE_HOME", "/x"}},
         "/d/NIVEX",
         "/c/NIVEX",
         "/x/NIVEX"},
        {"empty and relative values do not count",
         {{"HOME", "/home/a"}, {"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", "conf"}},
         "/home/a/.local/share/NIVEX",
         "/home/a/.config/NIVEX",
         "/home/a/.cache/NIVEX"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        const UserFolders folders = UserFolders::of([&](const char* name) -> std::optional<std::string> {
            const auto found = each.variables.find(name);
            return found == each.variables.end() ? std::nullopt : std::optional{found->second};
        });
        EXPECT_EQ(folders.data, each.data);
        EXPECT_EQ(folders.configuration, each.configuration);
        EXPECT_EQ(folders.cache, each.cache);
    }
    EXPECT_TRUE(UserFolders::of([](const char*) { return std::nullopt; }).data.is_absolute()) << "without a HOME";
}

} // namespace
} // namespace nivex
