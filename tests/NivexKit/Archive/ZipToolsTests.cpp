#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/Support/Bytes.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace nivex {
namespace {

using Files = std::map<std::string, std::string>;

/// What archives are made of here: text that shrinks, noise that does not, nothing, folders and accents.
Files sampleFiles()
{
    std::string noise;
    for (std::uint32_t i = 0, state = 1; i < 100'000; ++i, state = state * 1'664'525 + 1'013'904'223)
        noise.push_back(static_cast<char>(state >> 24));
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += "ligne " + std::to_string(i) + "\n";
    return {{"empty", ""}, {"text.txt", text}, {"noise.bin", noise}, {"folder/été.txt", "court"}};
}

/// Runs a command of the shell in a folder; true when it reports success.
bool succeeds(const std::filesystem::path& folder, const std::string& command)
{
    // NOLINTNEXTLINE(cert-env33-c): the commands are those below
    return std::system(("cd '" + folder.string() + "' && " + command + " > log.txt 2>&1").c_str()) == 0;
}

TEST(ZipTools, AcceptWhatTheWriterMakes)
{
    // unzip converts names beyond ASCII twice and then warns that they differ, whatever the language settings.
    const std::string plainNames = " -x 'folder/*'";
    const std::string commands[] = {
        "unzip -t ours.zip" + plainNames, "7z t ours.zip", "bsdtar -tf ours.zip",
        "python3 -c \"import zipfile, sys; sys.exit(zipfile.ZipFile('ours.zip').testzip() is not None)\"",
        "unzip -o ours.zip" + plainNames + " -d out"};
    for (const int alignment : {1, 64}) {
        const testing::TemporaryFolder folder;
        ZipArchive::Writer writer;
        for (const auto& [name, content] : sampleFiles())
            writer.add(name, testing::textBytes(content), true, alignment);
        folder.write("ours.zip", testing::characters(writer.finish()));
        for (const std::string& command : commands)
            EXPECT_TRUE(succeeds(folder.path(), command)) << command << "\n" << testing::contentsOf(folder / "log.txt");
        EXPECT_EQ(testing::contentsOf(folder / "out/text.txt"), sampleFiles()["text.txt"]);
        EXPECT_EQ(testing::contentsOf(folder / "out/noise.bin"), sampleFiles()["noise.bin"]);
    }
}

TEST(ZipTools, MakeArchivesThatTheReaderReadsBack)
{
    const std::string commands[] = {
        "LC_ALL=C.UTF-8 zip -r ../theirs.zip .",
        "cat text.txt | zip -r ../theirs.zip . -", // from a pipe: sizes stand behind the data
        "7z a -tzip ../theirs.zip .",
        "LC_ALL=C.UTF-8 bsdtar --format zip -cf ../theirs.zip *",
        "python3 -c \"import shutil; shutil.make_archive('../theirs', 'zip', '.')\"",
    };
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const testing::TemporaryFolder folder;
        for (const auto& [name, content] : sampleFiles())
            folder.write("in/" + name, content);
        ASSERT_TRUE(succeeds(folder / "in", command)) << testing::contentsOf(folder / "in/log.txt");
        const auto source = FileSource::open(folder / "theirs.zip");
        ASSERT_TRUE(source);
        const ZipArchive::Reader archive{*source};
        Files found;
        for (const ZipArchive::Entry& entry : archive.entries()) {
            const auto content = archive.contents(entry);
            if (sampleFiles().contains(entry.name()))
                found[entry.name()] = testing::characters(content);
        }
        EXPECT_EQ(found, sampleFiles());
    }
}

} // namespace
} // namespace nivex
