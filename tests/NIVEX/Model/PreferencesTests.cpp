#include "NIVEX/Model/Preferences.hpp"

#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

using nivex::testing::contentsOf;
using nivex::testing::TemporaryFolder;
using ::testing::HasSubstr;

TEST(Preferences, ReadBackWhatWasChosen)
{
    const TemporaryFolder folder;
    PreferencesFile file{folder / "config/NIVEX/Preferences.json"};
    EXPECT_EQ(file.load(), Preferences{});

    Preferences chosen;
    chosen.options.quality = 0.5;
    chosen.options.maxPixelDimension = 2048;
    chosen.destination = DestinationFolder{"/été"};
    chosen.retention = HistoryRetention::forever;
    chosen.language = Language::english;
    chosen.incompleteSandbox = IncompleteSandbox::proceed;
    chosen.jobs = Preferences::maxJobs;
    EXPECT_FALSE(file.update([&](Preferences& preferences) { preferences = chosen; }));
    EXPECT_EQ(file.load(), chosen);
}

TEST(Preferences, AreReadLeniently)
{
    const TemporaryFolder folder;
    const auto location = folder.write("Preferences.json", R"({
        "options": {"quality": 7, "renderDPI": "high", "audioBitRate": 96000, "metadata": "removeAll"},
        "destination": {"folder": {"_0": "/a"}, "sameFolderAsSource": {}},
        "retention": "oneCentury", "language": "en", "incompleteSandbox": true, "later": [1]})");
    Preferences expected;
    expected.options.audioBitRate = 96'000;
    expected.options.metadata = MetadataPolicy::removeAll;
    expected.language = Language::english;
    PreferencesFile file{location};

    EXPECT_EQ(file.load(), expected) << "one bad value takes no other with it";
    EXPECT_FALSE(file.update([](Preferences& preferences) { preferences.retention = HistoryRetention::off; }));
    EXPECT_THAT(contentsOf(location), HasSubstr("\"later\"")) << "a later version's member is kept";
}

TEST(Preferences, TakeANumberOfJobsThatCanBeMeant)
{
    const TemporaryFolder folder;
    const auto jobs = [&](const char* written) {
        return PreferencesFile{folder.write("Preferences.json", std::string{R"({"jobs":)"} + written + "}")}
            .load()
            .jobs;
    };
    EXPECT_EQ(jobs("1"), 1);
    for (const char* written : {"0", "257", "1.5", "\"2\"", "null", "4294967297"})
        EXPECT_EQ(jobs(written), std::nullopt) << written;
}

TEST(Preferences, SetADamagedFileAside)
{
    const TemporaryFolder folder;
    const auto location = folder.write("Preferences.json", "{\"language\": ");
    PreferencesFile file{location};

    EXPECT_EQ(file.load(), Preferences{});
    EXPECT_FALSE(file.update([](Preferences&) {}));
    EXPECT_EQ(contentsOf(folder / "Preferences.damaged-1.json"), "{\"language\": ");
    EXPECT_EQ(file.load(), Preferences{});
}

TEST(Preferences, YieldToTheEnvironmentForTheLanguage)
{
    const auto shown = [](Language preferred, std::optional<std::string> variable) {
        return Preferences{.language = preferred}.shownLanguage([&](const char*) { return variable; });
    };
    EXPECT_EQ(shown(Language::french, std::nullopt), Language::french);
    EXPECT_EQ(shown(Language::french, "en"), Language::english);
    EXPECT_EQ(shown(Language::english, "fr"), Language::french);
    EXPECT_EQ(shown(Language::english, "tlh"), Language::english);
}

} // namespace
} // namespace nivex
