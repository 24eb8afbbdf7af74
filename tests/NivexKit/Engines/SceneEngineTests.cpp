#include "NivexKit/Engines/Scene/SceneEngine.hpp"
#include "NivexKit/Engines/Scene/SideFiles.hpp"
#include "tests/Support/TemporaryFolder.hpp"

namespace nivex {
namespace {

using Loss = ConversionLoss;
using testing::TemporaryFolder;
using namespace std::literals;

const FileFormat& format(std::string_view id) { return *FormatRegistry::standard().format(FormatID{id}); }

TEST(SceneEngine, announcesWhatThisFileLoses)
{
    const SceneEngine engine{FormatRegistry::standard(), std::make_shared<WorkerPool>(WorkerPool::Settings{})};
    const SourceProperties rich{.hasRigOrAnimation = true, .hasMaterials = true};
    const SourceProperties bare{.hasRigOrAnimation = false, .hasMaterials = false};
    struct LossCase {
        const char* source;
        SourceProperties properties;
        const char* target;
        Loss expected;
    };
    const LossCase cases[] = {
        {"glb", rich, "stl", Loss::materials | Loss::rigging},
        {"glb", {}, "stl", Loss::materials | Loss::rigging},
        {"glb", bare, "stl", {}},
        {"glb", rich, "obj", Loss::rigging},
        {"glb", rich, "gltf", {}},
        {"obj", rich, "ply", Loss::materials},
        {"obj", bare, "ply", {}},
        {"stl", {}, "glb", {}},
        {"fbx", rich, "glb", Loss::rigging},
        {"glb", rich, "usdz", Loss::rigging},
    };
    for (const LossCase& each : cases) {
        SCOPED_TRACE(std::string{each.source} + " to " + each.target);
        EXPECT_EQ(engine.expectedLosses(format(each.source), each.properties, format(each.target), {}).rawValue(),
                  each.expected.rawValue());
    }
}

TEST(SideFiles, areFoundWhereAScenesSystemWouldNameThem)
{
    EXPECT_EQ(sideFileOfPath(" textures\\wood.png"), " textures/wood.png");
    EXPECT_EQ(sideFileOfPath("C:\\Users\\x\\wood.png"), "wood.png");
    EXPECT_EQ(sideFileOfPath("/home/x/wood.png"), "wood.png");
    EXPECT_EQ(sideFileOfPath("././\"wood.png"), "\"wood.png");
    EXPECT_EQ(sideFileOfPath(".//.///wood.png"), "wood.png");
    EXPECT_EQ(sideFileOfPath("./"), "");
    EXPECT_EQ(sideFileOfPath("\"two words.png\""), "two words.png");
    EXPECT_EQ(sideFileOfUri("two%20words%2"), "two words%2");
    EXPECT_EQ(sideFileOfUri(uriOfFile("100% é&?#.png")), "100% é&?#.png");
}

TEST(SideFiles, areThoseThatAFileNames)
{
    const TemporaryFolder folder;
    struct Naming {
        const char* format;
        std::string text;
        std::vector<std::filesystem::path> expected;
    };
    const Naming cases[] = {
        {"obj",
         "v 0 0 0\r\nmtllib two words.mtl\r\nusemtl x\n mtllib ../a.mtl",
         {"two words.mtl", "two", "words.mtl", "../a.mtl", "../a.mtl"}},
        {"mtl",
         "newmtl x\nmap_Kd -s 1 2 3 -clamp on a b.png\nmap_Bump -bm 0.5 c.png\nnorm -o 1 d.png\nmap_Kd\n",
         {"a b.png", "c.png", "d.png"}},
        {"ply", "ply\ncomment TextureFile two words.png\nend_header\ncomment TextureFile no.png\n", {"two words.png"}},
        {"gltf",
         R"({"buffers":[{"uri":"a%20b.bin"},{"uri":"data:;base64,"},{}],"images":[{"uri":"x.png"},7]})",
         {"a b.bin", "x.png"}},
        {"gltf", R"({"buffers":[)", {}},
        {"gltf", "[]", {}},
        {"stl", "mtllib a.mtl\n", {}},
        {"fbx",
         "x\x10RelativeFilenameS\5\0\0\0a.png\nRelativeFilename: \"..\\b c.png\"\nRelativeFilename"s,
         {"a.png", "../b c.png"}},
        {"fbx", "RelativeFilenameS\xFF\xFF\xFF\xFFx"s, {}},
        {"dae", "<init_from>file://tex/a%20b.png</init_from><init_from>", {"tex/a b.png"}},
    };
    for (const Naming& each : cases) {
        SCOPED_TRACE(each.text);
        EXPECT_EQ(sideFilesNamedIn(folder.write("file", each.text), each.format), each.expected);
    }
    EXPECT_TRUE(sideFilesNamedIn(folder / "missing", "obj").empty());
}

} // namespace
} // namespace nivex
