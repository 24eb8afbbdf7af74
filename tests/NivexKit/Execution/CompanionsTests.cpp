#include "NivexKit/Execution/Companions.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/FakeEngine.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace nivex {
namespace {

namespace fs = std::filesystem;
using testing::fakeEngine;
using testing::TemporaryFolder;
using Paths = std::vector<fs::path>;

/// A folder with a scene, and an engine that knows which file refers to which.
struct Scene {
    TemporaryFolder outside;
    fs::path folder = outside / "scenes";
    std::map<std::string, Paths> references; // by the name of the file that refers
    EngineRequest request;

    Scene()
    {
        outside.write("secret.bin", "secret");
        write("scene.obj");
        request.input = folder / "scene.obj";
        request.warnings = std::make_shared<ConversionWarnings>();
    }

    void write(const std::string& name, const std::string& contents = "1234") const
    {
        outside.write("scenes/" + name, contents);
    }

    Paths found() const
    {
        const auto engine = fakeEngine("fake", {});
        engine->referred = [this](const EngineRequest&, const fs::path& file) {
            const auto known = references.find(file.filename());
            return known == references.end() ? Paths{} : known->second;
        };
        return companionsOf(request, *engine);
    }
};

TEST(Companions, AreFollowedBelowTheFolderOfTheSource)
{
    Scene scene;
    scene.write("scene.mtl");
    scene.write("maps/wood.png");
    scene.write("maps/Stein.PNG");
    scene.references["scene.obj"] = {"scene.mtl", "./scene.mtl", "gone.mtl", "maps", ""};
    scene.references["scene.mtl"] = {"maps/../maps/wood.png", "maps/stein.png", "scene.obj", "scene.mtl"};
    EXPECT_EQ(scene.found(), (Paths{"scene.mtl", "maps/wood.png", "maps/Stein.PNG"}));
    EXPECT_EQ(scene.request.warnings->all(), std::vector<std::string>{});

    // A file of a subfolder refers from there, and not beyond what its source may.
    scene.references = {{"scene.obj", {"maps/wood.png"}},
                        {"wood.png", {"Stein.PNG", "../scene.mtl", "../../secret.bin"}}};
    EXPECT_EQ(scene.found(), (Paths{"maps/wood.png", "maps/Stein.PNG", "scene.mtl"}));
    EXPECT_EQ(scene.request.warnings->all(),
              std::vector<std::string>{
                  "« ../secret.bin » n'est pas lu : seuls les fichiers du dossier de la source le sont."});
}

TEST(Companions, NeverLeadOutOfTheFolder)
{
    Scene scene;
    fs::create_symlink(scene.outside / "secret.bin", scene.folder / "link.bin");
    fs::create_symlink(scene.outside.path(), scene.folder / "up");
    fs::create_directory(scene.folder / "folder.bin");
    const Paths refused = {"../secret.bin", scene.outside / "secret.bin", "maps/../../secret.bin", "link.bin",
                           "up/secret.bin"};
    for (const fs::path& each : refused) {
        scene.request.warnings = std::make_shared<ConversionWarnings>();
        scene.references["scene.obj"] = {each};
        EXPECT_EQ(scene.found(), Paths{}) << each;
        EXPECT_EQ(scene.request.warnings->all().size(), 1U) << each << " is left out without a word";
    }
    scene.references["scene.obj"] = {"folder.bin", ".", std::string(2'000, 'a')};
    EXPECT_EQ(scene.found(), Paths{});
}

TEST(Companions, AreBoundedInNumberAndBytes)
{
    Scene scene;
    for (std::size_t i = 0; i < mostCompanions; ++i) {
        scene.write(std::to_string(i), "");
        scene.references["scene.obj"].push_back(std::to_string(i));
    }
    EXPECT_EQ(scene.found().size(), mostCompanions);
    scene.write("one more", "");
    scene.references["scene.obj"].emplace_back("one more");
    EXPECT_THROW(scene.found(), ConversionError);

    scene.write("a.bin", std::string(60, 'a'));
    scene.write("b.bin", std::string(40, 'b'));
    scene.references["scene.obj"] = {"a.bin", "b.bin"};
    scene.request.limits.maxInputBytes = 104; // the input has 4
    EXPECT_EQ(scene.found().size(), 2U);
    scene.request.limits.maxInputBytes = 103;
    EXPECT_THROW(scene.found(), ConversionError);
}

TEST(Companions, AreKnownToTheEngineByTheNamesThatAreUsed)
{
    EngineRequest request;
    request.input = "/scenes/scene.obj";
    request.companions = {"maps/Wood.png", "maps/wood.png", "b.bin"};
    EXPECT_EQ(request.companion("maps/wood.png"), fs::path{"/scenes/maps/wood.png"});
    EXPECT_EQ(request.companion("./maps/x/../Wood.png"), fs::path{"/scenes/maps/Wood.png"});
    EXPECT_EQ(request.companion("B.BIN"), fs::path{"/scenes/b.bin"});
    EXPECT_EQ(request.companion("c.bin"), std::nullopt);
}

} // namespace
} // namespace nivex
