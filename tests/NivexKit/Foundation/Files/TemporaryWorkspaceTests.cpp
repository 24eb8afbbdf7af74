#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
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

/// An environment variable that has another value for the time of a test.
class TestVariable {
public:
    TestVariable(const char* name, const std::string& value) : name_{name}
    {
        if (const char* before = std::getenv(name))
            before_ = before;
        ::setenv(name, value.c_str(), 1);
    }
    TestVariable(const TestVariable&) = delete;
    TestVariable& operator=(const TestVariable&) = delete;
    ~TestVariable() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

/// The superuser as one of the others, who may not read, write and remove everything.
class AsOrdinaryUser {
public:
    AsOrdinaryUser() { change(user_ == 0 ? 65534 : user_); }
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
    ~AsOrdinaryUser() { change(user_); }

private:
    static void change(uid_t to)
    {
        if (::seteuid(to) != 0)
            ADD_FAILURE() << "not this user";
    }

    uid_t user_ = ::geteuid();
};

bool makeImmutable(const fs::path& entry)
{
    const FileDescriptor opened{::open(entry.c_str(), O_RDONLY | O_CLOEXEC)};
    int flags = 0;
    if (::ioctl(opened.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return false;
    flags |= FS_IMMUTABLE_FL;
    return ::ioctl(opened.get(), FS_IOC_SETFLAGS, &flags) == 0;
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
    const TestVariable variable{"TMPDIR", temporary.path()};
    const TestVariable cache{"XDG_CACHE_HOME", temporary / "none"};
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
}

TEST(TemporaryWorkspace, LeftoversOfKilledRunsGoAndEverythingElseStays)
{
    const TemporaryFolder destination;
    const fs::path& folder = destination.path();
    runAndKill([&] {
        auto* workspace = new TemporaryWorkspace{TemporaryWorkspace::create(folder)};
        destination.write((workspace->subfolder("step-0") / "half.png").native(), "half");
    });
    fs::create_directory(folder / ".nivex-0F8FAD5B-D9CB-469F-A165-70867728950E"); // killed before it was locked
    destination.write(".nivex-0F8FAD5B-D9CB-469F-A165-70867728950F/lock", "");    // and before it was named
    ASSERT_EQ(namesIn(folder).size(), 3U);

    const auto running = TemporaryWorkspace::create(folder);
    const TemporaryFolder precious;
    precious.write("photo.raw", "keep");
    const std::string hidden = ".nivex-11111111-1111-4111-8111-11111111111";
    std::vector<std::string> kept = {running.root().filename()};
    const auto keep = [&](const std::string& name, const char* inside, const std::string& contents) {
        kept.push_back(name);
        destination.write(inside ? name + "/" + inside : name, contents);
    };
    keep(".nivex-0f8fad5b-d9cb-469f-a165-70867728950e", "photo", "a name that NIVEX does not give");
    keep(".nivex-notes", nullptr, "a user's file");
    keep("0F8FAD5B-D9CB-469F-A165-70867728950E", "photo", "a name without the prefix");
    keep(hidden + "1", nullptr, "somebody renamed a file to look like a leftover");
    keep(hidden + "2", "photo", "somebody renamed a folder to look like a leftover");
    keep(hidden + "3", "lock", "a lock file of something else");
    keep(hidden + "4", "lock", running.root().filename()); // that of another workspace
    keep(hidden + "6", "lock", "");                        // somebody's empty file, beside what is dear
    destination.write(hidden + "6/photo", "somebody's");
    kept.push_back(hidden + "5");
    fs::create_directory_symlink(precious.path(), folder / kept.back());
    std::sort(kept.begin(), kept.end());

    EXPECT_EQ(TemporaryWorkspace::removeLeftovers(folder), std::vector<fs::path>{});
    EXPECT_EQ(TemporaryWorkspace::removeLeftovers(destination / "missing"), std::vector<fs::path>{});

    EXPECT_EQ(namesIn(folder), kept);
    for (const char* number : {"2/photo", "3/lock", "4/lock", "6/lock"})
        EXPECT_TRUE(fs::exists(folder / (hidden + number))) << number;
    EXPECT_EQ(testing::contentsOf(precious / "photo.raw"), "keep");
    EXPECT_TRUE(fs::exists(running.root() / "lock"));
}

TEST(TemporaryWorkspace, SaysWhichLeftoversStay)
{
    const AsOrdinaryUser ordinary; // whom permissions hold back
    const TemporaryFolder own;
    const fs::path folder = own / "destination";
    fs::create_directory(folder);
    runAndKill([&] { new TemporaryWorkspace{TemporaryWorkspace::create(folder)}; });
    runAndKill([&] { new TemporaryWorkspace{TemporaryWorkspace::create(folder)}; });
    std::vector<std::string> names = namesIn(folder);
    ASSERT_EQ(names.size(), 2U);
    ::chmod((folder / names[0]).c_str(), 0); // nobody looks into it any more
    EXPECT_EQ(TemporaryWorkspace::removeLeftovers(folder), std::vector{folder / names[0]});
    EXPECT_EQ(namesIn(folder), std::vector{names[0]});

    ::chmod((folder / names[0]).c_str(), 0700);
    ::chmod(folder.c_str(), 0500);
    EXPECT_EQ(TemporaryWorkspace::removeLeftovers(folder), std::vector{folder / names[0]});
    ::chmod(folder.c_str(), 0700);
}

TEST(TemporaryWorkspace, NeverTouchesWhatSomebodyPutInItsPlace)
{
    const TemporaryFolder destination;
    const TemporaryFolder precious;
    precious.write("photo.raw", "keep");
    fs::path root;
    {
        const auto workspace = TemporaryWorkspace::create(destination.path());
        root = workspace.root();
        fs::rename(root, destination / "stolen");
        fs::create_directory_symlink(precious.path(), root);
        workspace.subfolder("step-0");
        EXPECT_TRUE(fs::exists(destination / "stolen" / "step-0")) << "work went where the name leads";
    }
    EXPECT_EQ(namesIn(precious.path()), std::vector<std::string>{"photo.raw"});
    EXPECT_TRUE(fs::is_symlink(root));
    EXPECT_EQ(namesIn(destination / "stolen"), std::vector<std::string>{});
}

TEST(TemporaryWorkspace, LiesElsewhereWhereOthersCouldRenameIt)
{
    const TemporaryFolder temporary;
    const TestVariable variable{"TMPDIR", temporary.path()};
    const TemporaryFolder destination;
    struct Case {
        const char* fault;
        mode_t mode;
        uid_t owner;
        bool isSafe;
    };
    const Case cases[] = {
        {"private, and yet avoided", 0700, ::geteuid(), true},
        {"readable by all, and yet avoided", 0755, ::geteuid(), true},
        {"sticky, and yet avoided", 01777, ::geteuid(), true},
        {"open to everybody", 0777, ::geteuid(), false},
        {"open to a group of strangers", 0770, ::geteuid(), false},
        {"somebody else's sticky folder", 01777, 65534, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        const fs::path folder = destination / std::to_string(each.mode * 100'000 + each.owner);
        fs::create_directory(folder);
        const bool isForeign = each.owner != ::geteuid() || each.mode == 0770;
        if (isForeign && ::chown(folder.c_str(), each.owner, 65534) != 0)
            continue; // only the superuser may make such a folder
        ::chmod(folder.c_str(), each.mode);
        const auto workspace = TemporaryWorkspace::create(folder);
        EXPECT_EQ(workspace.root().parent_path(), each.isSafe ? folder : temporary / "NIVEX");
    }
}

TEST(TemporaryWorkspace, GoesWhateverAHostileChildLeavesInIt)
{
    const AsOrdinaryUser ordinary; // whom permissions hold back
    const TemporaryFolder own;
    {
        const auto workspace = TemporaryWorkspace::create(own.path());
        const fs::path step = workspace.subfolder("step-0");
        fs::create_directories(step / "closed" / "inner" / "leaf");
        std::ofstream{step / "closed" / "inner" / "file"} << "x";
        ::symlink("/", (step / "closed" / "link").c_str());
        for (const char* each : {"closed/inner/leaf", "closed/inner", "closed", "."})
            ::chmod((step / each).c_str(), 0);

        OpenFolder deep = workspace.folder().folderBelow({}).value();
        for (int level = 0; level < 3'000; ++level) {
            ASSERT_EQ(::mkdirat(deep.descriptor(), "d", 0700), 0);
            auto next = deep.folderBelow("d");
            ASSERT_TRUE(next);
            deep = *std::move(next);
        }
        ::chmod(workspace.root().c_str(), 0);
    }
    EXPECT_EQ(namesIn(own.path()), std::vector<std::string>{});
}

TEST(TemporaryWorkspace, GoesWithImmutableEntries)
{
    const TemporaryFolder destination;
    fs::path file;
    {
        const auto workspace = TemporaryWorkspace::create(destination.path());
        file = workspace.subfolder("step-0") / "file";
        std::ofstream{file} << "x";
        for (const fs::path& each : {file, file.parent_path()})
            if (!makeImmutable(each))
                GTEST_SKIP() << "this volume or user has no immutable files";
        ASSERT_NE(::unlink(file.c_str()), 0);
    }
    EXPECT_EQ(namesIn(destination.path()), std::vector<std::string>{});
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
