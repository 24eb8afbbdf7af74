#include "NivexWorkers/Scene/Usd/UsdMesh.hpp"

#include "NivexWorkers/Scene/Usd/UsdMaterials.hpp"

#include <algorithm>
#include <map>

namespace nivex::scene {
namespace {

constexpr std::string_view perCorner = " (\n    interpolation = \"faceVarying\"\n)";
constexpr std::string_view perVertex = " (\n    interpolation = \"vertex\"\n)";

class MeshWriter {
public:
    MeshWriter(const Mesh& mesh, const std::vector<Material>& materials, const std::vector<std::string>& materialPaths,
               UsdText& text)
        : mesh_{mesh}, materials_{materials}, materialPaths_{materialPaths}, text_{text}
    {
        forEachFace(mesh, [this](std::size_t face, std::size_t first, std::size_t size) {
            if (size == 1)
                points_.push_back(mesh_.corners[first]);
            else if (size == 2)
                lines_.insert(lines_.end(), {mesh_.corners[first], mesh_.corners[first + 1]});
            if (size < 3)
                return;
            faces_.push_back(face);
            sizes_.push_back(static_cast<Index>(size));
            for (std::size_t i = 0; i < size; ++i)
                corners_.push_back(static_cast<Index>(first + i));
        });
        if (mesh.isCloud())
            for (std::size_t i = 0; i < mesh.positions.size(); ++i)
                points_.push_back(static_cast<Index>(i));
    }

    void write(const std::string& name)
    {
        if (faces_.empty())
            text_.open("def Xform \"" + name + "\"");
        else
            writeFaces(name);
        if (!lines_.empty())
            writeLines();
        if (!points_.empty())
            writePoints();
        text_.close();
    }

private:
    void writeFaces(const std::string& name)
    {
        text_.open("def Mesh \"" + name + "\"" +
                   (mesh_.materials.empty() ? "" : " (\n    prepend apiSchemas = [\"MaterialBindingAPI\"]\n)"));
        text_.line("uniform token subdivisionScheme = \"none\"");
        if (isDoubleSided())
            text_.line("uniform bool doubleSided = 1");
        writeExtent();
        array("int[] faceVertexCounts", sizes_.size(), [&](std::size_t i) { return sizes_[i]; });
        array("int[] faceVertexIndices", corners_.size(), [&](std::size_t i) { return mesh_.corners[corners_[i]]; });
        writePositions();
        if (mesh_.normals)
            expanded("normal3f[] normals", *mesh_.normals);
        for (std::size_t set = 0; set < mesh_.uvSets.size(); ++set)
            indexed("texCoord2f[] primvars:" + usdUvSetName(static_cast<Index>(set)),
                    "primvars:" + usdUvSetName(static_cast<Index>(set)), mesh_.uvSets[set]);
        writeColors();
        writeBinding();
    }

    template <class Value>
    void array(std::string_view declaration, std::size_t count, Value value, std::string_view behind = {})
    {
        text_.array(
            declaration, count, [&](std::size_t i) { text_.append(value(i)); }, behind);
    }

    void writePositions()
    {
        array("point3f[] points", mesh_.positions.size(), [&](std::size_t i) { return mesh_.positions[i]; });
    }

    void writeExtent()
    {
        Vec3 least = mesh_.positions.front();
        Vec3 most = least;
        for (const Vec3 each : mesh_.positions) {
            least = {std::min(least.x, each.x), std::min(least.y, each.y), std::min(least.z, each.z)};
            most = {std::max(most.x, each.x), std::max(most.y, each.y), std::max(most.z, each.z)};
        }
        text_.line("float3[] extent = [" + UsdText::of(least) + ", " + UsdText::of(most) + "]");
    }

    /// A value for each vertex, or for each corner one after another.
    template <class T>
    void expanded(std::string_view declaration, const Attribute<T>& attribute)
    {
        if (attribute.isOfVertices())
            array(
                declaration, attribute.values.size(), [&](std::size_t i) { return attribute.values[i]; }, perVertex);
        else
            array(
                declaration, corners_.size(),
                [&](std::size_t i) { return attribute.values[attribute.corners[corners_[i]]]; }, perCorner);
    }

    /// A value for each vertex, or values that corners name.
    template <class T>
    void indexed(const std::string& declaration, const std::string& name, const Attribute<T>& attribute)
    {
        array(
            declaration, attribute.values.size(), [&](std::size_t i) { return attribute.values[i]; },
            attribute.isOfVertices() ? perVertex : perCorner);
        if (!attribute.isOfVertices())
            array("int[] " + name + ":indices", corners_.size(),
                  [&](std::size_t i) { return attribute.corners[corners_[i]]; });
    }

    void writeColors()
    {
        if (!mesh_.colors)
            return;
        Attribute<Vec3> colors{{}, mesh_.colors->corners};
        Attribute<float> opacities{{}, mesh_.colors->corners};
        for (const Vec4& each : mesh_.colors->values) {
            colors.values.push_back({each.x, each.y, each.z});
            opacities.values.push_back(each.w);
        }
        indexed("color3f[] primvars:displayColor", "primvars:displayColor", colors);
        if (std::ranges::any_of(opacities.values, [](float opacity) { return opacity != 1; }))
            indexed("float[] primvars:displayOpacity", "primvars:displayOpacity", opacities);
    }

    bool isDoubleSided() const
    {
        return std::ranges::any_of(mesh_.materials, [this](const MaterialRun& run) {
            return run.material && materials_[*run.material].isDoubleSided;
        });
    }

    /// One material for the whole mesh, or a part of the mesh for each.
    void writeBinding()
    {
        std::map<Index, Indices> facesOf;
        std::size_t bound = 0;
        auto face = faces_.begin();
        forEachMaterialRun(mesh_, [&](const MaterialRun& run, std::size_t end) {
            for (; face != faces_.end() && *face < end; ++face)
                if (run.material) {
                    facesOf[*run.material].push_back(static_cast<Index>(face - faces_.begin()));
                    ++bound;
                }
        });
        if (facesOf.size() == 1 && bound == faces_.size()) {
            bind(facesOf.begin()->first);
            return;
        }
        if (!facesOf.empty())
            text_.line("uniform token subsetFamily:materialBind:familyType = \"nonOverlapping\"");
        std::size_t number = 0;
        for (const auto& [material, faces] : facesOf) {
            text_.open("def GeomSubset \"part" + std::to_string(++number) +
                       "\" (\n    prepend apiSchemas = [\"MaterialBindingAPI\"]\n)");
            text_.line("uniform token elementType = \"face\"");
            text_.line("uniform token familyName = \"materialBind\"");
            array("int[] indices", faces.size(), [&each = faces](std::size_t i) { return each[i]; });
            bind(material);
            text_.close();
        }
    }

    void bind(Index material) { text_.line("rel material:binding = <" + materialPaths_[material] + ">"); }

    void writeLines()
    {
        text_.open("def BasisCurves \"lines\"");
        text_.line("uniform token type = \"linear\"");
        array("int[] curveVertexCounts", lines_.size() / 2, [](std::size_t) { return 2; });
        array("point3f[] points", lines_.size(), [&](std::size_t i) { return mesh_.positions[lines_[i]]; });
        text_.close();
    }

    void writePoints()
    {
        text_.open("def Points \"points\"");
        array("point3f[] points", points_.size(), [&](std::size_t i) { return mesh_.positions[points_[i]]; });
        if (mesh_.colors && mesh_.colors->isOfVertices())
            array(
                "color3f[] primvars:displayColor", points_.size(),
                [&](std::size_t i) {
                    const Vec4& color = mesh_.colors->values[points_[i]];
                    return Vec3{color.x, color.y, color.z};
                },
                perVertex);
        text_.close();
    }

    const Mesh& mesh_;
    const std::vector<Material>& materials_;
    const std::vector<std::string>& materialPaths_;
    UsdText& text_;
    std::vector<std::size_t> faces_; // the polygons
    Indices sizes_;                  // of each polygon
    Indices corners_;                // of the polygons, as places in `Mesh::corners`
    Indices lines_;                  // pairs of positions
    Indices points_;
};

} // namespace

void writeUsdMesh(const Mesh& mesh, const std::string& name, const std::vector<Material>& materials,
                  const std::vector<std::string>& materialPaths, UsdText& text)
{
    MeshWriter{mesh, materials, materialPaths, text}.write(name);
}

} // namespace nivex::scene
