#include "NivexKit/Workers/OutputCheck.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

TEST(OutputCheck, TakesFilesOfTheWorkingDirectoryOnly)
{
    const TemporaryFolder folder;
    const fs::path work = folder / "work";
    const fs::path outside = folder.write("outside", "secret");
    folder.write("work/good", "x");
    folder.write("work/sub/good", "x");
    folder.write("work/empty", "");
    folder.write("work/twin", "x");
    fs::create_hard_link(work / "twin", work / "other twin");
    fs::create_symlink(outside, work / "link");
    fs::create_symlink("good", work / "link inside");
    fs::create_directory_symlink(folder.path(), work / "folder link");
    ::mkfifo((work / "pipe").c_str(), 0600);

    EXPECT_EQ(checkedOutputs(work, {{"sub/good", "good"}}), (std::vector{work / "sub/good", work / "good"}));

    EXPECT_EQ(checkedOutputs(work, {{"sub"}}, OutputKinds::filesAndFolders), std::vector{work / "sub"});

    const std::string elsewhere = "fichier produit hors de l'espace de travail";
    const std::string irregular = "le fichier produit n'est pas un fichier ordinaire";
    const struct {
        std::vector<std::string> paths;
        std::string detail;
    } cases[] = {
        {{"../outside"}, elsewhere},
        {{"sub/../../outside"}, elsewhere},
        {{outside}, elsewhere},
        {{work / "good"}, elsewhere},
        {{"link"}, elsewhere},
        {{"link inside"}, elsewhere},
        {{"folder link/outside"}, elsewhere},
        {{"good", "../outside"}, elsewhere},
        {{"sub"}, irregular},
        {{"pipe"}, irregular},
        {{"twin"}, irregular},
        {{"empty"}, "fichier produit vide"},
        {{"missing"}, "fichier produit absent"},
        {{""}, "fichier produit absent"},
        {{"good", "sub/../good"}, "le même fichier produit est annoncé deux fois"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.paths.back());
        try {
            checkedOutputs(work, {each.paths});
            ADD_FAILURE() << "taken";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error, ConversionError::outputVerificationFailed(each.detail));
        }
    }
}

TEST(OutputCheck, WantsAtLeastOneFile)
{
    const TemporaryFolder folder;
    try {
        checkedOutputs(folder.path(), {});
        ADD_FAILURE() << "taken";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error, ConversionError::encodingFailed("aucun fichier produit"));
    }
}

} // namespace
} // namespace nivex::testing
