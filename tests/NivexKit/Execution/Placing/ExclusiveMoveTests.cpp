#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"
#include "NivexKit/Execution/Placing/OrdinaryPermissions.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

constexpr MoveMeans allMeans[] = {MoveMeans::renameWithoutReplacing, MoveMeans::link, MoveMeans::reservation};

/// A folder on another volume than the temporary folder, where the machine has one.
class OtherVolume {
public:
    OtherVolume()
    {
        std::string name = "/dev/shm/nivex-test-XXXXXX";
        if (::mkdtemp(name.data()))
            path_ = name;
    }
    OtherVolume(const OtherVolume&) = delete;
    OtherVolume& operator=(const OtherVolume&) = delete;
    ~OtherVolume() { fs::remove_all(path_); }

    bool isOther(const fs::path& than) const { return !path_.empty() && device(path_) != device(than); }
    fs::path operator/(const char* name) const { return path_ / name; }
    bool isEmpty() const { return fs::is_empty(path_); }

private:
    static dev_t device(const fs::path& folder)
    {
        struct stat status {};
        ::stat(folder.c_str(), &status);
        return status.st_dev;
    }

    fs::path path_;
};

MoveResult move(const fs::path& file, const fs::path& target, MoveMeans means = MoveMeans::renameWithoutReplacing)
{
    const auto from = OpenFolder::open(file.parent_path());
    const auto to = OpenFolder::open(target.parent_path());
    return moveExclusively({from.value(), file.filename()}, {to.value(), target.filename()}, means);
}

TEST(ExclusiveMove, NeverReplacesAnythingByAnyMeans)
{
    for (const MoveMeans means : allMeans) {
        SCOPED_TRACE(static_cast<int>(means));
        const TemporaryFolder folder;
        const fs::path file = folder.write("file", "new");
        const fs::path tree = folder.write("tree/deep/leaf", "leaf").parent_path().parent_path();
        folder.write("taken", "old");
        fs::create_directory(folder / "taken folder");
        fs::create_symlink(folder / "taken", folder / "link");
        for (const char* name : {"taken", "taken folder", "link"}) {
            EXPECT_EQ(move(file, folder / name, means), MoveResult::nameTaken) << name;
            EXPECT_EQ(move(tree, folder / name, means), MoveResult::nameTaken) << name;
        }
        EXPECT_EQ(testing::contentsOf(folder / "taken"), "old");

        EXPECT_EQ(move(file, folder / "free", means), MoveResult::moved);
        EXPECT_EQ(move(tree, folder / "free tree", means), MoveResult::moved);
        EXPECT_EQ(testing::contentsOf(folder / "free"), "new");
        EXPECT_EQ(testing::contentsOf(folder / "free tree" / "deep" / "leaf"), "leaf");
        EXPECT_FALSE(fs::exists(file) || fs::exists(tree));
        const fs::path gone = folder.write("gone/file", "").parent_path();
        const auto opened = OpenFolder::open(gone);
        fs::remove_all(gone);
        EXPECT_THROW(moveExclusively({OpenFolder::open(folder.path()).value(), "free"}, {*opened, "name"}, means),
                     ConversionError);
    }
}

TEST(ExclusiveMove, OfTwoProcessesExactlyOneGetsTheName)
{
    for (const MoveMeans means : allMeans) {
        SCOPED_TRACE(static_cast<int>(means));
        for (int round = 0; round < 30; ++round) {
            const TemporaryFolder folder;
            folder.write("from child", "child");
            folder.write("from parent", "parent");
            const pid_t child = ::fork();
            if (child == 0)
                ::_exit(move(folder / "from child", folder / "name", means) == MoveResult::moved ? 1 : 0);
            const bool won = move(folder / "from parent", folder / "name", means) == MoveResult::moved;
            int status = 0;
            ::waitpid(child, &status, 0);
            ASSERT_EQ(WEXITSTATUS(status), won ? 0 : 1);
            ASSERT_EQ(testing::contentsOf(folder / "name"), won ? "parent" : "child");
            ASSERT_TRUE(fs::exists(folder / (won ? "from child" : "from parent"))) << "the loser keeps its file";
        }
    }
}

TEST(ExclusiveMove, CopiesAcrossVolumesWithoutATrace)
{
    const TemporaryFolder here;
    const OtherVolume there;
    if (!there.isOther(here.path()))
        GTEST_SKIP() << "this machine has one volume only";

    const std::string contents(3'000'001, 'x');
    const fs::path file = here.write("film.mp4", contents);
    fs::permissions(file, static_cast<fs::perms>(0640));
    EXPECT_EQ(move(file, there / "film.mp4"), MoveResult::moved);
    EXPECT_EQ(testing::contentsOf(there / "film.mp4"), contents);
    EXPECT_EQ(fs::status(there / "film.mp4").permissions(), static_cast<fs::perms>(0640));
    EXPECT_FALSE(fs::exists(file));

    here.write("film.mp4", "second");
    EXPECT_EQ(move(file, there / "film.mp4"), MoveResult::nameTaken);
    EXPECT_EQ(testing::contentsOf(file), "second");
    fs::remove(there / "film.mp4");
    EXPECT_TRUE(there.isEmpty()) << "the refused copy is still there";

    const fs::path tree = here.write("tree/deep/leaf", "leaf").parent_path().parent_path();
    EXPECT_EQ(move(tree, there / "tree"), MoveResult::moved);
    EXPECT_EQ(testing::contentsOf(there / "tree" / "deep" / "leaf"), "leaf");
    EXPECT_FALSE(fs::exists(tree));
}

TEST(ExclusiveMove, AVolumeThatTakesNoMoreIsLeftAsItWas)
{
    const TemporaryFolder here;
    const OtherVolume there;
    if (!there.isOther(here.path()))
        GTEST_SKIP() << "this machine has one volume only";
    const fs::path file = here.write("film.mp4", std::string(100'000, 'x'));
    const fs::path tree = here.write("tree/film.mp4", std::string(100'000, 'x')).parent_path();

    struct rlimit before {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit tight {
        50'000, before.rlim_max
    };
    std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &tight);
    for (const fs::path& each : {file, tree}) {
        try {
            move(each, there / "film.mp4");
            ADD_FAILURE() << "moved " << each;
        } catch (const ConversionError& error) {
            EXPECT_EQ(error,
                      ConversionError::destinationUnavailable("le volume n'accepte pas de fichier de cette taille"));
        }
    }
    ::setrlimit(RLIMIT_FSIZE, &before);

    EXPECT_TRUE(there.isEmpty());
    EXPECT_TRUE(fs::exists(file) && fs::exists(tree / "film.mp4"));
}

TEST(OrdinaryPermissions, AreThoseOfNewFilesNotOfTheWorkspace)
{
    const TemporaryFolder folder;
    const fs::path fresh = folder.write("fresh", "");
    const fs::path file = folder.write("tree/file", "");
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(folder / "tree", fs::perms::owner_all | fs::perms::set_gid);
    fs::create_symlink("/etc/passwd", folder / "tree" / "link");
    const fs::perms passwords = fs::status("/etc/passwd").permissions();

    setOrdinaryPermissions({OpenFolder::open(folder.path()).value(), "tree"});

    EXPECT_EQ(fs::status(file).permissions(), fs::status(fresh).permissions());
    fs::create_directory(folder / "other");
    EXPECT_EQ(fs::status(folder / "tree").permissions(),
              fs::status(folder / "other").permissions() | fs::perms::set_gid);
    EXPECT_EQ(fs::status("/etc/passwd").permissions(), passwords);
}

} // namespace
} // namespace nivex
