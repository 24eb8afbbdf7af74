#include "NivexWorkers/Scene/Gltf/GltfReader.hpp"
#include "NivexWorkers/Scene/Gltf/GltfWriter.hpp"
#include "NivexWorkers/Scene/Model/Triangulation.hpp"
#include "NivexWorkers/Scene/Obj/ObjReader.hpp"
#include "NivexWorkers/Scene/Obj/ObjWriter.hpp"
#include "NivexWorkers/Scene/Ply/PlyReader.hpp"
#include "NivexWorkers/Scene/Ply/PlyWriter.hpp"
#include "NivexWorkers/Scene/Stl/StlReader.hpp"
#include "NivexWorkers/Scene/Stl/StlWriter.hpp"
#include "NivexWorkers/Scene/Usd/UsdWriter.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/NivexWorkers/Scene/SceneTestSupport.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::scene {
namespace {

/// A square that folds inward, on two nodes of which one mirrors and doubles it, with a colour, a normal and a point of
/// a texture for each corner of its own, a line and materials.
Scene arrow()
{
    Mesh mesh;
    mesh.name = "arrow";
    mesh.positions = {{0, 0, 0}, {2, 0, 0}, {0.5F, 0.5F, 0}, {0, 2, 0}};
    mesh.faceSizes = {4, 2};
    mesh.corners = {0, 1, 2, 3, 0, 1};
    mesh.normals = Attribute<Vec3>{{{0, 0, 1}}, {0, 0, 0, 0, 0, 0}};
    mesh.uvSets = {{{{0, 0}, {0.25F, 0.75F}}, {0, 1, 1, 0, 0, 0}}};
    mesh.colors = Attribute<Vec4>{{{1, 0, 0, 1}, {0, 0, 1, 0.5F}, {0, 1, 0, 1}, {1, 1, 1, 1}}, {}};
    mesh.materials = {{0, 1}, {1, std::nullopt}};
    Scene scene;
    scene.add(std::move(mesh));
    scene.nodes.push_back({.name = "twin",
                           .transform = Placement{.translation = {10, 0, 0}, .scale = {-2, 2, 2}},
                           .parent = {},
                           .meshes = {0}});
    const std::string_view picture = "\x89PNG....";
    const auto bytes = std::as_bytes(std::span{picture});
    scene.textures = {{"wood.png", "png", {bytes.begin(), bytes.end()}}};
    scene.materials = {
        {.name = "plain"},
        {.name = "wood",
         .baseColorTexture = TextureUse{.texture = 0, .offset = {0.5F, 0.25F}, .scale = {2, 3}, .rotation = 0.5F},
         .metallic = 0.5F,
         .alphaMode = AlphaMode::mask,
         .isDoubleSided = true}};
    return scene;
}

struct Measures {
    double area = 0;
    double facing = 0; // the area as seen from above, negative where the back shows
    Vec3 least{1e9F, 1e9F, 1e9F};
    Vec3 most{-1e9F, -1e9F, -1e9F};
};

Measures measured(const Scene& scene)
{
    Measures measures;
    for (const ShownMesh& shown : shownMeshes(scene)) {
        const Triangulation triangles{*shown.mesh};
        for (std::size_t i = 0; i < triangles.triangleCount(); ++i) {
            Vec3 at[3];
            for (std::size_t j = 0; j < 3; ++j) {
                at[j] = shown.toWorld.point(shown.mesh->positions[shown.mesh->corners[triangles.corner(i, j)]]);
                measures.least = {std::min(measures.least.x, at[j].x), std::min(measures.least.y, at[j].y), 0};
                measures.most = {std::max(measures.most.x, at[j].x), std::max(measures.most.y, at[j].y), 0};
            }
            const Vec3 normal = cross(at[1] - at[0], at[2] - at[0]);
            measures.area += std::sqrt(normal.x * normal.x + normal.y * normal.y + normal.z * normal.z) / 2;
            measures.facing += (shown.toWorld.mirrors() ? -normal.z : normal.z) / 2;
        }
    }
    return measures;
}

struct Target {
    const char* name;
    Writer write;
    Reader read;
};

constexpr Target targets[] = {
    {"model.stl", writeStl, readStl},  {"model.ply", writePly, readPly},         {"my model.obj", writeObj, readObj},
    {"model.glb", writeGlb, readGltf}, {"my model é.gltf", writeGltf, readGltf},
};

TEST(SceneWriters, keepShapePlaceAndFront)
{
    for (const Target& each : targets) {
        SCOPED_TRACE(each.name);
        const Measures found = measured(readChecked(each.read, written(each.write, arrow(), each.name)));
        EXPECT_NEAR(found.area, 1 + 4, 1e-5) << "a polygon that folds inward is cut along its inside";
        EXPECT_NEAR(found.facing, 1 + 4, 1e-5) << "what is mirrored still shows its front";
        EXPECT_EQ(found.least, (Vec3{0, 0, 0}));
        EXPECT_EQ(found.most, (Vec3{10, 4, 0}));
    }
}

TEST(SceneWriters, keepPolygonsColorsAndTextures)
{
    const Scene scene = arrow();
    const Scene obj = readChecked(readObj, written(writeObj, scene, "my model.obj"));
    EXPECT_EQ(obj.meshes.front().faceSizes, (Indices{4, 2}));
    ASSERT_EQ(obj.textures.size(), 1U);
    EXPECT_EQ(obj.textures.front().bytes, scene.textures.front().bytes);
    EXPECT_EQ(std::ranges::find(obj.materials, "wood", &Material::name)->baseColorTexture->scale, (Vec2{2, 3}));

    const Scene ply = readChecked(readPly, written(writePly, scene, "a.ply"));
    EXPECT_EQ(ply.meshes.front().faceSizes, (Indices{4, 4, 2, 2}));
    EXPECT_EQ(ply.meshes.front().positions.size(), 8U) << "attributes of corners cut no surface apart";
    EXPECT_NEAR(ply.meshes.front().colors->values.at(1).w, 0.5, 0.002);
    EXPECT_EQ(ply.meshes.front().uvSets.front().values.at(1), (Vec2{0.25F, 0.75F}));

    for (const Target& each : {targets[3], targets[4]}) {
        SCOPED_TRACE(each.name);
        const Scene gltf = readChecked(each.read, written(each.write, scene, each.name));
        EXPECT_EQ(gltf.meshes.size(), 1U) << "both nodes show one mesh";
        const Mesh& mesh = gltf.meshes.front();
        EXPECT_EQ(mesh.positions.size(), 5U) << "a vertex for each combination, of which position 1 has two";
        ASSERT_EQ(mesh.uvSets.size(), 1U);
        EXPECT_NEAR(mesh.uvSets.front().values.at(1).y, 0.75, 1e-6);
        EXPECT_EQ(mesh.colors->values.at(0), (Vec4{1, 0, 0, 1}));
        ASSERT_EQ(gltf.materials.size(), 2U);
        const Material& wood = gltf.materials.at(1);
        ASSERT_TRUE(wood.baseColorTexture);
        EXPECT_EQ(gltf.textures.at(0).bytes, scene.textures.front().bytes);
        EXPECT_NEAR(wood.baseColorTexture->offset.x, 0.5, 1e-6);
        EXPECT_NEAR(wood.baseColorTexture->offset.y, 0.25, 1e-6);
        EXPECT_EQ(wood.alphaMode, AlphaMode::mask);
        EXPECT_TRUE(wood.isDoubleSided);
        EXPECT_EQ(std::get<Placement>(gltf.nodes.at(1).transform).scale, (std::array<double, 3>{-2, 2, 2}));
    }
}

TEST(SceneWriters, tellUsdWhatTheModelHas)
{
    Scene scene = arrow();
    scene.frame = Frame{.up = UpAxis::z, .metersPerUnit = 0.001};
    scene.nodes.push_back({.name = "1 é", .transform = Placement{}, .parent = 1, .meshes = {0}});
    const Source usd = written(writeUsd, scene, "a.usd");
    EXPECT_EQ(usd.beside.count("a-wood.png"), 1U);
    for (const char* line :
         {"metersPerUnit = 0.001\n", "upAxis = \"Z\"\n", "int[] faceVertexCounts = [4]\n",
          "int[] faceVertexIndices = [0, 1, 2, 3]\n",
          "point3f[] points = [(0, 0, 0), (2, 0, 0), (0.5, 0.5, 0), (0, 2, 0)]\n",
          "int[] primvars:st:indices = [0, 1, 1, 0]\n", "int[] curveVertexCounts = [2]\n",
          "rel material:binding = </Scene/Materials/wood>\n", "uniform bool doubleSided = 1\n",
          "def Xform \"_1___\" (\n    displayName = \"1 é\"\n)\n", "asset inputs:file = @./a-wood.png@\n",
          "float2 inputs:translation = (0.5, 0.25)\n",
          "matrix4d xformOp:transform = ( (-2, 0, 0, 0), (0, 2, 0, 0), (0, 0, 2, 0), (10, 0, 0, 1) )\n"})
        EXPECT_NE(usd.text.find(line), std::string::npos) << line << usd.text;
}

TEST(SceneWriters, putTheEntriesOfPackagesAtMultiplesOf64)
{
    const Source package = written(writeUsdz, arrow(), "a.usdz");
    const MemorySource bytes{std::as_bytes(std::span{package.text})};
    const ZipArchive::Reader archive{bytes};
    ASSERT_EQ(archive.entries().size(), 2U);
    EXPECT_EQ(archive.entries().at(0).storedName, "scene.usda");
    EXPECT_EQ(archive.entries().at(1).storedName, "textures/wood.png");
    for (const ZipArchive::Entry& each : archive.entries()) {
        EXPECT_EQ(each.method, 0);
        EXPECT_EQ(archive.dataOffset(each) % 64, 0U) << each.storedName;
    }
}

TEST(SceneWriters, refuseAModelOfWhichNothingWouldBeLeft)
{
    Scene cloud;
    cloud.add({.name = "cloud", .positions = {{1, 2, 3}, {4, 5, 6}}});
    EXPECT_THROW(written(writeStl, cloud, "a.stl"), ConversionError);
    for (const Target& each : {targets[1], targets[2], targets[3]}) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(readChecked(each.read, written(each.write, cloud, each.name)).meshes.front().positions,
                  cloud.meshes.front().positions);
    }
}

} // namespace
} // namespace nivex::scene
