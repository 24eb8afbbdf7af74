#include "NivexKit/Execution/Placing/OutputNaming.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <string>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

std::string repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

TEST(OutputNaming, SanitizesBaseNames)
{
    struct Case {
        const char* fault;
        std::string name;
        std::string expected;
    };
    const Case cases[] = {
        {"characters lost that are harmless", "Été « ici » (2)*?", "Été « ici » (2)*?"},
        {"separators make folders", "a/b:c\\d", "a-b-c-d"},
        {"control characters kept",
         "a\nb\x7F"
         "c\xE2\x80\xAE"
         "d",
         "a b c d"},
        {"white space kept at the ends", "\t\u00A0 Photo \u2003\n", "Photo"},
        {"hidden file", "..notes", "notes"},
        {"dots inside or behind taken for leading ones", "a..b.", "a..b."},
        {"nothing left", "   ", "Sans titre"},
        {"nothing left behind the dots", " ... ", "Sans titre"},
        {"Windows-1252 bytes kept or lost", "caf\xE9 l\x92\x9Cuvre \x80\x81.", "café l’œuvre € ."},
        {"cut too short", repeated("a", 240), repeated("a", 240)},
        {"cut too late", repeated("a", 300), repeated("a", 240)},
        {"cut through a scalar", "a" + repeated("é", 150), "a" + repeated("é", 119)},
        {"cut through a character", "a" + repeated("e\u0301", 100), "a" + repeated("e\u0301", 79)},
        {"one character longer than a name", "e" + repeated("\u0301", 200), "Sans titre"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(OutputNaming::sanitizedBaseName(each.name), each.expected);
    }
}

TEST(OutputNaming, FindsTheFirstFreeName)
{
    const TemporaryFolder folder;
    AvoidedLocations avoided;
    const auto next = [&](std::string_view base, std::string_view extension) {
        return OutputNaming::uniqueURL(folder.path() / "x" / "..", base, extension, avoided);
    };
    EXPECT_EQ(next("Photo", "jpg"), folder / "Photo.jpg");
    folder.write("Photo.jpg", "");
    EXPECT_EQ(next("Photo", "jpg"), folder / "Photo 2.jpg");
    fs::create_symlink("nowhere", folder / "Photo 2.jpg");
    fs::create_directory(folder / "Photo 3.jpg");
    EXPECT_EQ(next("Photo", "jpg"), folder / "Photo 4.jpg") << "links to nowhere and folders are in the way too";
    EXPECT_EQ(next("Photo", ""), folder / "Photo");

    avoided.insert(folder.path() / "." / "ÉTÉ.JPG");
    EXPECT_EQ(next("été", "jpg"), folder / "été 2.jpg");
}

TEST(OutputNaming, RemembersForAMomentWhichNumbersAreTaken)
{
    const TemporaryFolder folder;
    std::chrono::steady_clock::time_point now{};
    NameNumbers numbers{[&] { return now; }};
    const auto next = [&] { return OutputNaming::uniqueURL(folder.path(), "a", "txt", {}, &numbers).filename(); };
    const auto place = [&] { folder.write(next().native(), ""); };
    for (int i = 0; i < 40; ++i)
        place();
    EXPECT_EQ(next(), "a 41.txt");
    folder.write("a 41.txt", "");
    EXPECT_EQ(next(), "a 42.txt") << "a name that appeared meanwhile is given away";

    fs::remove(folder / "a 30.txt");
    EXPECT_EQ(next(), "a 42.txt") << "all numbers are asked for every time";
    fs::remove(folder / "a 3.txt");
    EXPECT_EQ(next(), "a 3.txt") << "a low number must not be passed over";
    folder.write("a 3.txt", "");
    now += NameNumbers::validity;
    EXPECT_EQ(next(), "a 30.txt") << "the memory outlives its time";
    EXPECT_EQ(OutputNaming::uniqueURL(folder.path(), "a", "md", {}, &numbers).filename(), "a.md");

    for (const char* each : {"a 30.txt", "a 42.txt"})
        folder.write(each, "");
    now += NameNumbers::validity;
    place();
    fs::remove(folder / "a 20.txt");
    numbers.forget();
    EXPECT_EQ(next(), "a 20.txt");
}

TEST(OutputNaming, NamesFitTheVolumeWhateverTheNumber)
{
    const TemporaryFolder folder;
    const std::string extension = "dotlottie-with-a-long-tail";
    const std::string kept = repeated("é", (255 - 4 - 27) / 2); // room for " 999" and the extension
    AvoidedLocations avoided;
    const auto next = [&] { return OutputNaming::uniqueURL(folder.path(), repeated("é", 120), extension, avoided); };

    EXPECT_EQ(next(), folder / (kept + "." + extension));
    avoided.insert(next());
    EXPECT_EQ(next(), folder / (kept + " 2." + extension)) << "the same stem with and without a number";
    for (int n = 2; n < 1000; ++n)
        avoided.insert(folder / (kept + " " + std::to_string(n) + "." + extension));
    EXPECT_EQ(next(), folder / (repeated("é", (255 - 5 - 27) / 2) + " 1000." + extension));
}

fs::path moveIntoPlace(const fs::path& file, const fs::path& folder)
{
    const auto from = OpenFolder::open(file.parent_path());
    return OutputNaming::moveIntoPlace({*from, file.filename()}, OpenFolder::open(folder).value(), {});
}

TEST(OutputNaming, MovesFilesAndFoldersUnderTheirCleanedNames)
{
    const TemporaryFolder workspace;
    const TemporaryFolder folder;
    struct Case {
        std::string file;
        std::string placed;
    };
    const Case cases[] = {
        {"film.vtt", "film.vtt"}, {"a:b.tar.gz", "a-b.tar.gz"}, {"a-b.tar.gz", "a-b.tar 2.gz"}, {".profile", "profile"},
        {"odd.", "odd"},          {"caf\xE9.srt", "café.srt"},  {"project/inside", "project"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.file);
        workspace.write(each.file, each.file);
        const fs::path file = workspace / each.file.substr(0, each.file.find('/'));
        const fs::path placed = moveIntoPlace(file, folder.path());
        EXPECT_EQ(placed, folder / each.placed);
        EXPECT_EQ(testing::contentsOf(fs::is_directory(placed) ? placed / "inside" : placed), each.file);
        EXPECT_FALSE(fs::exists(file));
    }
    const fs::path late = workspace.write("a.txt", "");
    const auto gone = OpenFolder::open(workspace.write("gone/file", "").parent_path());
    fs::remove_all(workspace / "gone");
    const auto here = OpenFolder::open(workspace.path());
    EXPECT_THROW(OutputNaming::moveIntoPlace({*here, late.filename()}, *gone, {}), ConversionError);
}

TEST(OutputNaming, ProcessesThatPlaceTheSameNameAtOnceAllGetTheirOwn)
{
    constexpr int processes = 4;
    constexpr int filesEach = 50;
    const TemporaryFolder folder;
    const TemporaryFolder start; // written to by the test when all may begin
    for (int process = 0; process < processes; ++process) {
        if (::fork() != 0)
            continue;
        const TemporaryFolder workspace;
        while (!fs::exists(start / "now")) {
        }
        for (int i = 0; i < filesEach; ++i)
            moveIntoPlace(workspace.write("film.vtt", std::to_string(process * filesEach + i)), folder.path());
        ::_exit(0);
    }
    start.write("now", "");
    for (int process = 0, status = 0; process < processes; ++process) {
        ASSERT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    std::set<std::string> contents;
    for (const fs::directory_entry& each : fs::directory_iterator{folder.path()})
        contents.insert(testing::contentsOf(each.path()));
    EXPECT_EQ(contents.size(), static_cast<std::size_t>(processes * filesEach));
    EXPECT_TRUE(fs::exists(folder / "film 200.vtt")) << "no number is left out";
}

} // namespace
} // namespace nivex
