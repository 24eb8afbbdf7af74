#include "NivexKit/Foundation/Files/SharedFile.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using nivex::testing::contentsOf;
using nivex::testing::TemporaryFolder;

std::error_code replace(SharedFile& file, std::string_view contents)
{
    std::error_code failure;
    const auto lock = file.lock(failure);
    return lock ? file.replace(*lock, contents) : failure;
}

TEST(SharedFile, MakesTheFolderAndReplacesTheWholeFile)
{
    const TemporaryFolder folder;
    SharedFile file{folder / "new/folder/History.json"};

    EXPECT_FALSE(replace(file, "a long first version"));
    EXPECT_FALSE(replace(file, "short"));
    EXPECT_EQ(contentsOf(file.location()), "short");
    EXPECT_EQ(fs::status(file.location()).permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << "others must not read the names of a person's files";
    EXPECT_FALSE(fs::exists(folder / "new/folder/.History.json.new")) << "nothing half-written is left";
}

TEST(SharedFile, OverwritesWhatAKilledWriterLeft)
{
    const TemporaryFolder folder;
    folder.write(".Preferences.json.new", "half of a much longer fi");
    SharedFile file{folder / "Preferences.json"};

    EXPECT_FALSE(replace(file, "{}"));
    EXPECT_EQ(contentsOf(file.location()), "{}");
}

TEST(SharedFile, NoticesAVersionThatItDidNotWrite)
{
    const TemporaryFolder folder;
    SharedFile ours{folder / "History.json"};
    SharedFile theirs{folder / "History.json"};
    std::error_code failure;

    EXPECT_FALSE(ours.hasChanged()) << "no file before, no file now";
    replace(ours, "[1]");
    EXPECT_FALSE(ours.hasChanged());
    replace(theirs, "[2]");
    EXPECT_TRUE(ours.hasChanged()) << "of the same size, perhaps within the same tick of the clock";
    EXPECT_EQ(ours.read(100, failure), "[2]");
    EXPECT_FALSE(ours.hasChanged());
    fs::remove(folder / "History.json");
    EXPECT_TRUE(ours.hasChanged());
}

TEST(SharedFile, GivesUpALockThatSomebodyKeeps)
{
    const TemporaryFolder folder;
    const SharedFile ours{folder / "History.json"};
    const SharedFile theirs{folder / "History.json"};
    std::error_code failure;
    {
        const auto kept = theirs.lock(failure);
        ASSERT_TRUE(kept);
        EXPECT_FALSE(ours.lock(failure, std::chrono::milliseconds{20}));
        EXPECT_EQ(failure, std::errc::timed_out);
    }
    EXPECT_TRUE(ours.lock(failure, std::chrono::milliseconds{0}));
}

TEST(SharedFile, TellsAMissingFileFromOneThatCannotBeRead)
{
    const TemporaryFolder folder;
    folder.write("large", "12345");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto failureOf = [&](const char* name) {
        std::error_code failure;
        EXPECT_EQ(SharedFile{folder / name}.read(4, failure), std::nullopt);
        return failure;
    };

    EXPECT_FALSE(failureOf("missing"));
    EXPECT_EQ(failureOf("large"), std::errc::file_too_large);
    EXPECT_TRUE(failureOf("pipe")) << "and does not wait for a writer";
    EXPECT_TRUE(failureOf("."));
}

TEST(SharedFile, SetsAsideWithoutOverwriting)
{
    const TemporaryFolder folder;
    folder.write("History.json", "damaged now");
    folder.write("History.damaged-1.json", "damaged earlier");
    SharedFile file{folder / "History.json"};
    std::error_code failure;

    EXPECT_FALSE(file.setAside(*file.lock(failure)));
    EXPECT_FALSE(fs::exists(file.location()));
    EXPECT_EQ(contentsOf(folder / "History.damaged-1.json"), "damaged earlier");
    EXPECT_EQ(contentsOf(folder / "History.damaged-2.json"), "damaged now");
}

TEST(SharedFile, KeepsASymbolicLink)
{
    const TemporaryFolder folder;
    folder.write("kept elsewhere/Preferences.json", "old");
    fs::create_symlink("kept elsewhere/Preferences.json", folder / "Preferences.json");
    SharedFile file{folder / "Preferences.json"};

    EXPECT_FALSE(replace(file, "new"));
    EXPECT_TRUE(fs::is_symlink(folder / "Preferences.json"));
    EXPECT_EQ(contentsOf(folder / "kept elsewhere/Preferences.json"), "new");
}

TEST(SharedFile, ReportsAFolderThatCannotBeMade)
{
    const TemporaryFolder folder;
    folder.write("occupied", "a file where a folder should be");
    SharedFile file{folder / "occupied/History.json"};

    EXPECT_TRUE(replace(file, "[]"));
}

} // namespace
} // namespace nivex
