#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

std::vector<std::string> namesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& each : fs::directory_iterator{folder})
        names.push_back(each.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

/// Runs `body` in a process of its own that is killed in the middle of it, so that no destructor runs.
template <class Body>
void runAndKill(Body body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::raise(SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

TEST(TemporaryWorkspace, IsAPrivateHiddenFolderThatLeavesNothingBehind)
{
    const TemporaryFolder destination;
    {
        const auto workspace = TemporaryWorkspace::create(destination.path());
        EXPECT_EQ(workspace.root().parent_path(), destination.path());
        EXPECT_EQ(workspace.root().filename().native().rfind(".nivex-", 0), 0U);
        EXPECT_EQ(fs::status(workspace.root()).permissions(), fs::perms::owner_all);
        const fs::path step = workspace.subfolder("step-0");
        fs::create_directories(step / "deep" / "\xFF\xFE");
        fs::create_symlink(destination.path(), step / "link"); // must not be followed
        EXPECT_THROW(workspace.subfolder("step-0"), ConversionError);
    }
    EXPECT_EQ(namesIn(destination.path()), std::vector<std::string>{});
}

TEST(TemporaryWorkspace, FallsBackToTheSystemsTemporaryFolder)
{
    const TemporaryFolder temporary;
    const std::string before = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
    ::setenv("TMPDIR", temporary.path().c_str(), 1);
    {
        const auto workspace = TemporaryWorkspace::create(temporary / "gone");
        EXPECT_EQ(workspace.root().parent_path(), temporary / "NIVEX");
        EXPECT_TRUE(Uuid::parse(workspace.root().filename().native()));
    }
    EXPECT_EQ(namesIn(temporary / "NIVEX"), std::vector<std::string>{});

    runAndKill([&] { (new TemporaryWorkspace{TemporaryWorkspace::create(temporary / "gone")})->subfolder("step-0"); });
    EXPECT_EQ(namesIn(temporary / "NIVEX").size(), 1U);
    TemporaryWorkspace::removeLeftovers();
    EXPECT_EQ(namesIn(temporary / "NIVEX"), std::vector<std::string>{});

    // A folder that others may write to could be filled with traps: another one is taken.
    fs::permissions(temporary / "NIVEX", fs::perms::all);
    const auto workspace = TemporaryWorkspace::create(temporary / "gone");
    EXPECT_EQ(workspace.root().parent_path(), temporary / ("NIVEX-" + std::to_string(::geteuid())));

    ::setenv("TMPDIR", (temporary / "gone too").c_str(), 1);
    try {
        TemporaryWorkspace::create(temporary / "gone");
        ADD_FAILURE() << "a workspace without any folder";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error, ConversionError::destinationUnavailable("le dossier n'existe plus"));
    }
    before.empty() ? ::unsetenv("TMPDIR") : ::setenv("TMPDIR", before.c_str(), 1);
}

TEST(TemporaryWorkspace, LeftoversOfKilledRunsGoAndEverythingElseStays)
{
    const TemporaryFolder destination;
    const fs::path& folder = destination.path();
    const std::string identifier = "0F8FAD5B-D9CB-469F-A165-70867728950E";
    runAndKill([&] {
        auto* workspace = new TemporaryWorkspace{TemporaryWorkspace::create(folder)};
        destination.write((workspace->subfolder("step-0") / "half.png").native(), "half");
    });
    runAndKill([&] { new auto{WorkspaceEntry::createFile(folder, WorkspaceEntry::hiddenPrefix)}; });
    fs::create_directory(destination / (".nivex-" + identifier)); // killed before it was locked
    ASSERT_EQ(namesIn(folder).size(), 3U);

    const auto running = TemporaryWorkspace::create(folder);
    const auto copying = WorkspaceEntry::createFile(folder, WorkspaceEntry::hiddenPrefix);
    const TemporaryFolder precious;
    precious.write("photo.raw", "keep");
    std::vector<std::string> kept = {running.root().filename(),
                                     copying->location().filename(),
                                     ".nivex-0f8fad5b-d9cb-469f-a165-70867728950e",
                                     ".nivex-notes",
                                     identifier,
                                     ".nivex-11111111-1111-4111-8111-111111111111"};
    fs::create_directory(folder / kept[2]);
    destination.write(kept[3], "a user's file");
    fs::create_directory(folder / kept[4]);
    fs::create_directory_symlink(precious.path(), folder / kept[5]);
    std::sort(kept.begin(), kept.end());

    TemporaryWorkspace::removeLeftovers(folder);
    TemporaryWorkspace::removeLeftovers(destination / "missing");

    EXPECT_EQ(namesIn(folder), kept);
    EXPECT_EQ(testing::contentsOf(precious / "photo.raw"), "keep");
    EXPECT_TRUE(fs::exists(running.root() / "lock"));
}

/// A process that sweeps a folder without a pause; ended with the test, also with one that fails.
class Sweeper {
public:
    explicit Sweeper(const fs::path& folder) : process_{::fork()}
    {
        while (process_ == 0)
            TemporaryWorkspace::removeLeftovers(folder);
    }
    Sweeper(const Sweeper&) = delete;
    Sweeper& operator=(const Sweeper&) = delete;
    ~Sweeper()
    {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

private:
    pid_t process_;
};

TEST(TemporaryWorkspace, AProcessThatSweepsNeverTakesAWorkspaceThatIsBeingMade)
{
    const TemporaryFolder destination;
    {
        const Sweeper sweeper{destination.path()};
        for (int round = 0; round < 300; ++round) {
            auto workspace = TemporaryWorkspace::create(destination.path());
            ASSERT_EQ(workspace.root().parent_path(), destination.path());
            ASSERT_NO_THROW(workspace.subfolder("step-0")) << "round " << round;
        }
    }
    TemporaryWorkspace::removeLeftovers(destination.path());
    EXPECT_EQ(namesIn(destination.path()), std::vector<std::string>{});
}

} // namespace
} // namespace nivex
