#include "NivexWorkers/Scene/Obj/ObjWriter.hpp"

#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Obj/MaterialListWriter.hpp"
#include "NivexWorkers/Scene/Text/SceneFile.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>

namespace nivex::scene {
namespace {

/// On one line.
std::string lineOf(std::string_view name)
{
    std::string line{name};
    std::ranges::replace_if(
        line, [](unsigned char each) { return each < ' '; }, ' ');
    return line;
}

class ObjFile {
public:
    ObjFile(SceneOutput& output, const std::vector<std::string>& materials)
        : file_{output.location()}, materials_{materials}
    {
    }

    SceneFile& file() { return file_; }

    void object(const ShownMesh& shown)
    {
        const Mesh& mesh = *shown.mesh;
        const std::string& name = shown.node->name.empty() ? mesh.name : shown.node->name;
        if (!name.empty())
            file_.text("o ").text(lineOf(name)).text("\n");
        vertices(shown);
        faces(mesh, shown.toWorld.mirrors());
        firstPosition_ += mesh.positions.size();
        firstUv_ += mesh.uvSets.empty() ? 0 : mesh.uvSets.front().values.size();
        firstNormal_ += mesh.normals ? mesh.normals->values.size() : 0;
    }

private:
    template <class... Numbers>
    void statement(std::string_view keyword, Numbers... numbers)
    {
        file_.text(keyword);
        (file_.text(" ").number(numbers), ...);
        file_.text("\n");
    }

    void vertices(const ShownMesh& shown)
    {
        const Mesh& mesh = *shown.mesh;
        const bool isMoved = shown.toWorld != Matrix4{};
        // Colours behind positions are a habit of scanners; those of corners have no place.
        const bool hasColors = mesh.colors && mesh.colors->isOfVertices();
        for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
            const Vec3 p = isMoved ? shown.toWorld.point(mesh.positions[i]) : mesh.positions[i];
            if (hasColors) {
                const Vec4 c = srgbFromLinear(mesh.colors->values[i]);
                statement("v", p.x, p.y, p.z, c.x, c.y, c.z);
            } else {
                statement("v", p.x, p.y, p.z);
            }
        }
        if (!mesh.uvSets.empty())
            for (const Vec2 uv : mesh.uvSets.front().values)
                statement("vt", uv.x, uv.y);
        if (mesh.normals)
            for (const Vec3 each : mesh.normals->values) {
                const Vec3 normal = isMoved ? shown.toWorld.normal(each) : each;
                statement("vn", normal.x, normal.y, normal.z);
            }
    }

    void faces(const Mesh& mesh, bool mirrors)
    {
        if (mesh.isCloud())
            return points(mesh);
        const Attribute<Vec2>* uvs = mesh.uvSets.empty() ? nullptr : &mesh.uvSets.front();
        const Attribute<Vec3>* normals = mesh.normals ? &*mesh.normals : nullptr;
        auto run = mesh.materials.begin();
        forEachFace(mesh, [&](std::size_t face, std::size_t first, std::size_t size) {
            for (; run != mesh.materials.end() && run->firstFace <= face; ++run)
                if (run->material)
                    file_.text("usemtl ").text(materials_[*run->material]).text("\n");
            file_.text(size == 1 ? "p" : size == 2 ? "l" : "f");
            for (std::size_t i = 0; i < size; ++i) {
                const std::size_t corner = mirrors ? first + (size - i) % size : first + i;
                file_.text(" ").number(firstPosition_ + mesh.corners[corner]);
                if (size < 3)
                    continue;
                if (uvs)
                    file_.text("/").number(firstUv_ + indexOf(mesh, *uvs, corner));
                if (normals)
                    file_.text(uvs ? "/" : "//").number(firstNormal_ + indexOf(mesh, *normals, corner));
            }
            file_.text("\n");
        });
    }

    void points(const Mesh& mesh)
    {
        for (std::size_t i = 0; i < mesh.positions.size(); ++i)
            statement("p", firstPosition_ + i);
    }

    template <class T>
    static Index indexOf(const Mesh& mesh, const Attribute<T>& attribute, std::size_t corner)
    {
        return attribute.isOfVertices() ? mesh.corners[corner] : attribute.corners[corner];
    }

    SceneFile file_;
    const std::vector<std::string>& materials_;
    std::size_t firstPosition_ = 1;
    std::size_t firstUv_ = 1;
    std::size_t firstNormal_ = 1;
};

} // namespace

void writeObj(const Scene& scene, SceneOutput& output)
{
    std::vector<std::string> materials;
    std::string list;
    if (!scene.materials.empty()) {
        const auto location = output.further({}, "mtl");
        materials = writeMaterialList(scene, location, output);
        list = location.filename();
    }
    ObjFile obj{output, materials};
    obj.file().text("# NIVEX\n");
    if (!list.empty())
        obj.file().text("mtllib ").text(list).text("\n");
    for (const ShownMesh& each : shownMeshes(scene))
        obj.object(each);
    obj.file().finish();
}

} // namespace nivex::scene
