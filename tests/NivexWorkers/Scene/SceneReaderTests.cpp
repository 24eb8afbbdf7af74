#include "NivexWorkers/Scene/Gltf/GltfReader.hpp"
#include "NivexWorkers/Scene/Obj/ObjReader.hpp"
#include "NivexWorkers/Scene/Obj/ObjSurvey.hpp"
#include "NivexWorkers/Scene/Ply/PlyReader.hpp"
#include "NivexWorkers/Scene/Stl/StlReader.hpp"
#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/ThreeMf/ThreeMfReader.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/NivexWorkers/Scene/SceneTestSupport.hpp"

namespace nivex::scene {
namespace {

using namespace std::literals;

std::string gltf(const std::string& members) { return "{\"asset\":{\"version\":\"2.0\"}," + members + "}"; }

/// Three vertices and a triangle of them, with one member of the file replaced.
std::string triangle(const std::string& replaced = {}, const std::string& by = {})
{
    std::string text = gltf(R"("scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteLength":36}],
"buffers":[{"byteLength":36,"uri":"data:;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}])");
    if (const std::size_t at = text.find(replaced); !replaced.empty() && at != text.npos)
        text.replace(at, replaced.size(), by);
    return text;
}

std::string ply(const std::string& header, const std::string& rows) { return "ply\n" + header + "end_header\n" + rows; }

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

/// A 3MF package of these parts.
std::string package(const std::vector<std::pair<std::string, std::string>>& parts)
{
    ZipArchive::Writer writer;
    for (const auto& [name, contents] : parts)
        writer.add(name, std::as_bytes(std::span{contents}), true);
    const std::vector<std::byte> bytes = writer.finish();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// One of a single part, in which `items` are to be built.
std::string model(const std::string& resources, const std::string& items = "<item objectid='1'/>")
{
    return package({{"3D/3dmodel.model", "<model unit='inch'><resources>" + resources + "</resources><build>" + items +
                                             "</build></model>"}});
}

constexpr char meshOf3mf[] =
    "<mesh><vertices><vertex x='0' y='0' z='0'/><vertex x='1' y='0' z='0'/><vertex x='0' y='1' z='0'/>"
    "</vertices><triangles><triangle v1='0' v2='1' v3='2'/></triangles></mesh>";

std::string object(const std::string& id, const std::string& contents, const std::string& more = {})
{
    return "<object id='" + id + "' " + more + ">" + contents + "</object>";
}

constexpr char threeVertices[] = "format ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                                 "property float z\n";
constexpr char faces[] = "element face 1\nproperty list uchar int vertex_indices\n";

TEST(SceneReaders, refuseWhatIsBrokenInASentence)
{
    using Kind = ConversionError::Kind;
    struct BadInput {
        const char* name;
        Reader read;
        std::string text;
        std::string detail;
        Kind kind = Kind::unreadableSource;
    };
    const std::string cut = "le fichier s'arrête avant la fin";
    const std::string damaged = "les données du modèle sont endommagées";
    const std::string notNumbers = "le modèle contient des coordonnées qui ne sont pas des nombres";
    const std::string nothing = "le fichier ne contient aucun modèle";
    const BadInput cases[] = {
        {"an index of no vertex", readObj, "v 0 0 0\nf 1 2 3\n", "la ligne 2 désigne un sommet qui n'existe pas"},
        {"an index before the first", readObj, "v 0 0 0\nf -2 1 1\n", "la ligne 2 désigne un sommet qui n'existe pas"},
        {"index zero", readObj, "v 0 0 0\nf 0 1 1\n", "la ligne 2 désigne un sommet qui n'existe pas"},
        {"an index of no normal", readObj, "v 0 0 0\nf 1//1 1 1\n", "la ligne 2 désigne un sommet qui n'existe pas"},
        {"a word in place of a number", readObj, "v 0 zero 0\n", "OBJ invalide à la ligne 1"},
        {"letters behind an index", readObj, "v 0 0 0\nf 1 1x 1\n", "OBJ invalide à la ligne 2"},
        {"a coordinate beyond all numbers", readObj, "v 0 1e99 0\nf 1 1 1\n", notNumbers},
        {"no vertices", readObj, "# nothing\n", nothing},

        {"half a facet", readStl, "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n", cut},
        {"a facet of two corners", readStl, "solid\nfacet\nvertex 0 0 0\nvertex 1 0 0\nendfacet\n",
         "STL invalide à la ligne 5"},
        {"more facets than bytes", readStl, zeros(80) + "\2\0\0\0"s + zeros(50),
         "le fichier annonce 2 triangles et n'en contient que 1"},
        {"a header alone", readStl, zeros(80), cut},
        {"a facet that is no number", readStl, zeros(80) + "\1\0\0\0"s + zeros(12) + "\0\0\xC0\x7F"s + zeros(34),
         notNumbers},

        {"rows that are announced only", readPly,
         ply("format binary_little_endian 1.0\nelement vertex 4000000000\n"
             "property float x\nproperty float y\nproperty float z\n",
             zeros(12)),
         cut},
        {"a list longer than the file", readPly,
         ply(threeVertices + "element face 1\nproperty list int int vertex_indices\n"s,
             "0 0 0\n1 0 0\n0 1 0\n2000000000 0 1 2\n"),
         cut},
        {"a face of no vertex", readPly, ply(threeVertices + std::string{faces}, "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n"),
         "une face désigne un sommet qui n'existe pas"},
        {"a face before the vertices", readPly, ply("format ascii 1.0\n" + std::string{faces}, "3 0 1 2\n"),
         "une face désigne un sommet qui n'existe pas"},
        {"a row that is missing", readPly, ply(threeVertices, "0 0 0\n1 0 0\n"), cut},
        {"a word in a row", readPly, ply(threeVertices, "0 0 0\n1 0 0\n0 one 0\n"),
         "le fichier PLY contient un nombre invalide"},
        {"a type that does not exist", readPly, ply("format ascii 1.0\nelement vertex 1\nproperty complex x\n", "0\n"),
         "l'en-tête PLY est invalide"},

        {"no package", read3mf, "PK", "archive ZIP trop courte"},
        {"a package without a model", read3mf, package({{"a.txt", "a"}}), damaged},
        {"an item of no object", read3mf, model(object("2", meshOf3mf)), damaged},
        {"an object made of itself", read3mf, model(object("1", "<components><component objectid='1'/></components>")),
         damaged},
        {"objects that multiply", read3mf,
         [] {
             std::string objects = object("20", meshOf3mf);
             for (int i = 1; i < 20; ++i) {
                 const std::string use = "<component objectid='" + std::to_string(i + 1) + "'/>";
                 objects += object(std::to_string(i), "<components>" + use + use + "</components>");
             }
             return model(objects);
         }(),
         damaged},
        {"entities", read3mf, package({{"3D/3dmodel.model", "<!DOCTYPE a [<!ENTITY b \"b\">]><model/>"}}), damaged},
        {"XML that is cut", read3mf, package({{"3D/3dmodel.model", "<model><resources>"}}), damaged},
        {"a triangle of no vertex", read3mf,
         model(object("1", "<mesh><vertices><vertex x='0' y='0' z='0'/></vertices><triangles><triangle v1='0' v2='1' "
                           "v3='2'/></triangles></mesh>")),
         damaged},
        {"a colour that is none", read3mf, model("<basematerials id='5'><base displaycolor='red'/></basematerials>"),
         damaged},
        {"a material beyond the group", read3mf,
         model("<basematerials id='5'/>" + object("1", meshOf3mf, "pid='5' pindex='0'")), damaged},
        {"a part that is not there", read3mf, model("", "<item objectid='1' p:path='/x.model'/>"), damaged},

        {"no JSON", readGltf, "{\"asset\"", "JSON invalide"},
        {"the first version", readGltf, "{\"asset\":{\"version\":\"1.0\"}}",
         "seule la version 2 du format glTF est lue", Kind::unsupported},
        {"a container cut short", readGltf, "glTF\2\0\0\0\xFF\0\0\0\4\0\0\0JSON{}  "s, cut},
        {"a buffer that is not there", readGltf,
         triangle("data:;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA", "../x;.bin"),
         "le fichier « .._x_.bin », qui contient les données du modèle, est introuvable"},
        {"a buffer that is too short", readGltf, triangle("\"byteLength\":36,\"uri\"", "\"byteLength\":37,\"uri\""),
         "les données du modèle s'arrêtent avant la fin"},
        {"a view out of its buffer", readGltf, triangle("\"buffer\":0,", "\"buffer\":0,\"byteOffset\":1,"), damaged},
        {"a view far behind its buffer", readGltf,
         triangle("\"buffer\":0,", "\"buffer\":0,\"byteOffset\":9000000000000000,"), damaged},
        {"more elements than bytes", readGltf, triangle("\"count\":3", "\"count\":4"), damaged},
        {"zeros without end", readGltf,
         triangle("\"bufferView\":0,\"componentType\":5126,\"count\":3", "\"componentType\":5126,\"count\":19000000"),
         damaged},
        {"an unknown kind of number", readGltf, triangle("5126", "5124"), damaged},
        {"a node in itself", readGltf, triangle("{\"mesh\":0}", "{\"mesh\":0,\"children\":[0]}"), damaged},
        {"a node with two parents", readGltf, triangle("\"nodes\":[0]", "\"nodes\":[0,0]"), damaged},
        {"a mesh that does not exist", readGltf, triangle("\"mesh\":0", "\"mesh\":1"), damaged},
        {"a place beyond all numbers", readGltf,
         triangle("\"mesh\":0",
                  "\"mesh\":0,\"translation\":[1e308,1e308,0],\"scale\":[1e308,1e308,1e308],\"rotation\":[9,9,9,9]"),
         notNumbers},
        {"vertices that an extension packs", readGltf,
         triangle("\"scenes\"", "\"extensionsRequired\":[\"KHR_draco_mesh_compression\"],\"scenes\""),
         "ce modèle demande l'extension glTF « KHR_draco_mesh_compression »", Kind::unsupported},
    };
    for (const BadInput& each : cases) {
        SCOPED_TRACE(each.name);
        try {
            readChecked(each.read, {each.text});
            ADD_FAILURE() << "was read";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error.detail(), each.detail) << error.cause();
            EXPECT_EQ(error.kind(), each.kind);
        }
    }
}

TEST(SceneReaders, countVerticesBeforeTheyAreHeld)
{
    const auto points = [](const std::string& count) {
        return ply("format binary_little_endian 1.0\nelement vertex " + count +
                       "\nproperty uchar x\nproperty uchar y\nproperty uchar z\n",
                   zeros(3'000'003));
    };
    const ResourceLimits limits{.maxSceneVertices = 1'000'000};
    EXPECT_EQ(readChecked(readPly, {points("1000000")}, nullptr, limits).meshes.front().positions.size(), 1'000'000U);
    try {
        readChecked(readPly, {points("1000001")}, nullptr, limits);
        ADD_FAILURE() << "was read";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error.kind(), ConversionError::Kind::resourceLimit);
        EXPECT_EQ(error.detail(), "le modèle a plus de 1 millions de sommets");
    }
}

TEST(Fields, takeNumbersAsTheyShouldRound)
{
    const std::pair<const char*, float> cases[] = {
        {"0.1", 0.1F},
        {"-16777216", -16777216},
        {"16777217", 16777217},
        {"0.16777217", 0.16777217F},
        {"1.", 1},
        {".5", 0.5F},
        {"+2.5", 2.5F},
        {"1e-3", 1e-3F},
        {"-0", 0},
        {"123456789012", 123456789012.0F},
        {"0.0000000001", 1e-10F},
        {"3.14159265358979", 3.14159265358979F},
        {"1e-60", 0},
        {"-1.5E2", -150},
    };
    for (const auto& [text, expected] : cases) {
        float value = 7;
        Fields fields{text};
        EXPECT_TRUE(fields.number(value) && fields.isAtEnd()) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* text : {"", "-", "1x", "1.2.3", "x", "--1", "1,5"}) {
        float value = 7;
        EXPECT_FALSE(Fields{text}.number(value)) << text;
    }
}

TEST(SceneReaders, boundTheDepthOfTrees)
{
    Scene chain;
    chain.add({.name = "a", .positions = {{0, 0, 0}}});
    for (Index i = 1; i <= 1'000; ++i)
        chain.nodes.push_back({.name = "n", .transform = Placement{}, .parent = i - 1, .meshes = {}});
    EXPECT_NO_THROW(checkScene(chain, {}));
    chain.nodes.push_back({.name = "n", .transform = Placement{}, .parent = 1'000, .meshes = {}});
    EXPECT_THROW(checkScene(chain, {}), ConversionError);
}

/// Each mesh in a line: its name, vertices, faces with their corners, and runs of materials.
std::string shown(const Scene& scene)
{
    std::string text;
    for (const Mesh& mesh : scene.meshes) {
        text += mesh.name + ":" + std::to_string(mesh.positions.size());
        forEachFace(mesh, [&](std::size_t, std::size_t first, std::size_t size) {
            text += " ";
            for (std::size_t i = 0; i < size; ++i)
                text += std::to_string(mesh.corners[first + i]) + (i + 1 < size ? "," : "");
        });
        for (const MaterialRun& run : mesh.materials)
            text +=
                " " + (run.material ? scene.materials[*run.material].name : "-") + "@" + std::to_string(run.firstFace);
        text += "\n";
    }
    return text;
}

TEST(SceneReaders, keepWhatFilesSay)
{
    const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
    struct Model {
        const char* name;
        Reader read;
        std::string text;
        std::string expected;
    };
    const Model cases[] = {
        {"quads stay quads, indices count back", readObj, square + "f -4 -3 -2 -1\nf 1 2 3\n", ":4 0,1,2,3 0,1,2\n"},
        {"objects keep their own vertices", readObj, square + "o a\nf 1 2 3\no b\nf 2 3 4\n", "a:3 0,1,2\nb:3 0,1,2\n"},
        {"groups tell parts apart without objects", readObj, square + "g a\nf 1 2 3\ng b\nf 2 3 4\n",
         "a:3 0,1,2\nb:3 0,1,2\n"},
        {"groups within objects do not", readObj, square + "o x\ng a\nf 1 2 3\ng b\nf 2 3 4\n", "x:4 0,1,2 1,2,3\n"},
        {"materials begin where they are used", readObj,
         square + "f 1 2 3\nusemtl red\nf 2 3 4\nusemtl blue\nusemtl red\nf 1 3 4\n",
         ":4 0,1,2 1,2,3 0,2,3 -@0 red@1\n"},
        {"lines and points", readObj, square + "l 1 2 3\np 4\n", ":4 0,1 1,2 3\n"},
        {"a statement over two lines, CR LF", readObj, square + "f 1 2 \\\r\n 3 4\r\n", ":4 0,1,2,3\n"},
        {"a cloud", readObj, square, ":4\n"},
        {"solids of one file", readStl,
         "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\n"
         "facet normal 0 0 1\nouter loop\nvertex 1 0 -0\nvertex 0 1 0\nvertex 1 1 0\nendloop\nendfacet\nendsolid a\n"
         "SOLID b c\nFACET\nVERTEX 0 0 0\nVERTEX 1 0 0\nVERTEX 0 1 0\nENDFACET\n",
         "a:4 0,1,2 1,2,3\nb c:3 0,1,2\n"},
        {"a binary file that begins as text", readStl, "solid" + zeros(75) + "\1\0\0\0"s + zeros(50), ":1 0,0,0\n"},
        {"rows with more than was announced", readPly,
         ply(threeVertices + std::string{faces}, "0 0 0 7\n1 0 0 7\n0 1 0\n3 0 1 2 9 9\n"), ":3 0,1,2\n"},
        {"strips, whose second triangle turns", readPly,
         ply("format ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
             "element tristrips 1\nproperty list int int vertex_indices\n",
             "0 0 0\n1 0 0\n0 1 0\n1 1 0\n8 0 1 2 3 -1 1 2 3\n"),
         ":4 0,1,2 2,1,3 1,2,3\n"},
        {"edges that lack an end", readPly,
         ply("format ascii 1.0\nelement vertex 1\nproperty int x\nproperty int y\nproperty int z\n"
             "element edge 1\nproperty int vertex2\nproperty int vertex2\n",
             "0 0 0\n0 0\n"),
         ":1\n"},
        {"big-endian numbers", readPly,
         ply("format binary_big_endian 1.0\nelement vertex 1\nproperty double x\nproperty short y\nproperty uchar z\n"
             "element edge 1\nproperty ushort vertex1\nproperty ushort vertex2\n",
             "\x3F\xF0"s + zeros(6) + "\0\2\3"s + zeros(4)),
         ":1 0,0\n"},
        {"components in another part, materials of triangles, beams", read3mf,
         package({{"3D/3dmodel.model", "<model><resources>" +
                                           object("1", "<components><component p:path='/x.model' objectid='7' "
                                                       "transform='1 0 0 0 1 0 0 0 1 5 6 7'/></components>") +
                                           "</resources><build><item objectid='1'/></build></model>"},
                  {"x.model", "<model><resources><basematerials id='5'><base name='red' displaycolor='#FF0000'/><base "
                              "name='glass' displaycolor='#0000FF80'/></basematerials>" +
                                  object("7",
                                         "<mesh><vertices><vertex x='0' y='0' z='0'/><vertex x='1' y='0' "
                                         "z='0'/><vertex x='0' y='1' z='0'/></vertices><triangles>"
                                         "<triangle v1='0' v2='1' v3='2'/><triangle v1='2' v2='1' v3='0' pid='5' "
                                         "p1='1'/></triangles><b:beam v1='0' v2='2'/></mesh>",
                                         "name='lid' pid='5' pindex='0'") +
                                  "</resources></model>"}}),
         "lid:3 0,1,2 2,1,0 0,2 red@0 glass@1 -@2\n"},
        {"a strip of triangles", readGltf, triangle("}}]}]", "},\"mode\":5}]}]"), ":3 0,1,2\n"},
        {"a loop of lines", readGltf, triangle("}}]}]", "},\"mode\":2}]}]"), ":3 0,1 1,2 2,0\n"},
        {"values put in between", readGltf,
         triangle("\"type\"", "\"sparse\":{\"count\":1,\"indices\":{\"bufferView\":0,\"componentType\":5121},"
                              "\"values\":{\"bufferView\":0}},\"type\""),
         ":3 0,1,2\n"},
    };
    for (const Model& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(shown(readChecked(each.read, {each.text})), each.expected);
    }
}

TEST(SceneReaders, seeMaterialsOfObjFilesInStatementsOnly)
{
    const auto hasMaterials = [](const std::string& text) {
        const MemorySource bytes{std::as_bytes(std::span{text})};
        return surveyObj({.bytes = bytes, .limits = {}}).hasMaterials.value();
    };
    EXPECT_TRUE(hasMaterials("usemtl a"));
    EXPECT_TRUE(hasMaterials("v 0 0 0\n \tusemtl a\n"));
    EXPECT_FALSE(hasMaterials("# usemtl a\no usemtl\nmtllib a.mtl\n"));
    // Wherever the border of what is read at once lies in the statement.
    for (std::size_t before = (1 << 20) - 8; before <= (1 << 20); ++before) {
        EXPECT_TRUE(hasMaterials(std::string(before - 1, '#') + "\nusemtl a\n")) << before;
        EXPECT_FALSE(hasMaterials(std::string(before, '#') + "usemtl a\n")) << before;
    }
}

TEST(SceneReaders, placeWhat3mfPackagesBuild)
{
    const Scene scene = readChecked(
        read3mf, {model("<colorgroup id='9'><color color='#FFFFFF'/><color color='#FF000080'/></colorgroup>" +
                            object("1", meshOf3mf, "pid='9' pindex='1'"),
                        "<item objectid='1' transform='0 1 0 -1 0 0 0 0 2 5 6 7'/><item objectid='1'/>")});
    EXPECT_EQ(scene.frame, (Frame{.up = UpAxis::z, .metersPerUnit = 0.0254}));
    const std::vector<ShownMesh> shown = shownMeshes(scene);
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown.at(0).toWorld.point({1, 0, 0}), (Vec3{5, 7, 7}));
    EXPECT_EQ(shown.at(0).mesh, shown.at(1).mesh);
    const Attribute<Vec4>& colors = *scene.meshes.front().colors;
    EXPECT_EQ(colors.values.at(colors.corners.at(2)), (Vec4{1, 0, 0, 128 / 255.0F}));
}

TEST(SceneReaders, takeMaterialsAndTexturesFromBeside)
{
    const std::string png = "\x89PNG\r\n\x1A\n...";
    const Source source{
        "mtllib my list.mtl\nusemtl wood\nv 0 0 0\nvt 0 1\nf 1/1 1/1 1/1\n",
        {{"my list.mtl", "newmtl wood\nKd 0.5 0.25 1\nd 0.5\nmap_Kd -s 2 3 -clamp on wood fine.png\nmap_Ke none.png\n"},
         {"wood fine.png", png}}};
    std::vector<std::string> warnings;
    const Scene scene = readChecked(readObj, source, &warnings);
    ASSERT_EQ(scene.materials.size(), 1U);
    const Material& wood = scene.materials.front();
    EXPECT_EQ(wood.baseColor, (Vec4{0.5F, 0.25F, 1, 0.5F}));
    EXPECT_EQ(wood.alphaMode, AlphaMode::blend);
    ASSERT_TRUE(wood.baseColorTexture);
    EXPECT_EQ(wood.baseColorTexture->scale, (Vec2{2, 3}));
    EXPECT_EQ(wood.baseColorTexture->wrapS, TextureWrap::clamp);
    ASSERT_EQ(scene.textures.size(), 1U);
    EXPECT_EQ(scene.textures.front().extension, "png");
    EXPECT_FALSE(wood.emissiveTexture);
    EXPECT_EQ(warnings,
              std::vector<std::string>{"La texture « none.png » est introuvable : le modèle est converti sans elle."});
}

} // namespace
} // namespace nivex::scene
