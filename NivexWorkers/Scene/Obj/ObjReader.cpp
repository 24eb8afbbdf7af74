#include "NivexWorkers/Scene/Obj/ObjReader.hpp"

#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/Triangulation.hpp"
#include "NivexWorkers/Scene/Obj/MaterialLibrary.hpp"
#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace nivex::scene {
namespace {

constexpr Index none = std::numeric_limits<Index>::max();

/// The faces of an object, whose corners name values of the whole file.
struct Part {
    std::string name;
    Indices faceSizes;
    Indices positions;
    Indices uvs;     // `none` for a corner without; empty for a part without
    Indices normals; // the same
    std::vector<MaterialRun> materials;
};

/// Values of a kind of the whole file, and what a part takes of them.
template <class T>
class Extract {
public:
    explicit Extract(const std::vector<T>& values) : values_{values}, places_(values.size(), none) {}

    /// Replaces indices into the whole by indices into what is taken. Each part is done with before the next begins.
    std::vector<T> take(Indices& indices)
    {
        std::vector<T> taken;
        std::vector<Index> touched;
        for (Index& index : indices) {
            if (index == none)
                continue;
            if (places_[index] == none) {
                places_[index] = static_cast<Index>(taken.size());
                taken.push_back(values_[index]);
                touched.push_back(index);
            }
            index = places_[index];
        }
        for (const Index each : touched)
            places_[each] = none;
        return taken;
    }

private:
    const std::vector<T>& values_;
    Indices places_;
};

class ObjFile {
public:
    explicit ObjFile(const SceneInput& input) : input_{input}, lines_{input}, materials_{input} {}

    Scene read()
    {
        std::string_view line;
        while (lines_.next(line)) {
            if (line.ends_with('\\'))
                line = joined(line);
            statement(line);
        }
        return finished();
    }

private:
    ConversionError invalidLine() const
    {
        return ConversionError::unreadableSource(
            filled("OBJ invalide à la ligne {}"_fr, {std::to_string(lines_.number())}));
    }

    /// A statement that goes on in the next lines.
    std::string_view joined(std::string_view line)
    {
        joined_ = line;
        while (joined_.ends_with('\\')) {
            joined_.back() = ' ';
            std::string_view next;
            if (!lines_.next(next))
                break;
            joined_ += next;
        }
        return joined_;
    }

    void statement(std::string_view line)
    {
        Fields fields{line};
        const std::string_view keyword = fields.word();
        if (keyword == "v")
            vertex(fields);
        else if (keyword == "vt")
            uv(fields);
        else if (keyword == "vn")
            normal(fields);
        else if (keyword == "f" || keyword == "fo")
            face(fields);
        else if (keyword == "l")
            polyline(fields);
        else if (keyword == "p")
            points(fields);
        else if (keyword == "o")
            object(fields.rest());
        else if (keyword == "g" && !hasObjects_)
            group(fields.rest());
        else if (keyword == "usemtl")
            material_ = materials_.use(fields.rest());
        else if (keyword == "mtllib")
            materials_.read(fields.rest());
        else if (keyword == "curv" || keyword == "curv2" || keyword == "surf")
            input_.warn("Les courbes et surfaces mathématiques du fichier OBJ ne sont pas reprises."_fr);
    }

    void vertex(Fields& fields)
    {
        float values[7];
        const int count = fields.numbers(values, 7);
        if (count < 3)
            throw invalidLine();
        if (count >= 6 && colors_.size() == positions_.size()) // a file colours all of its vertices or none
            colors_.push_back(linearFromSrgb({values[3], values[4], values[5], 1}));
        positions_.push_back({values[0], values[1], values[2]});
        if (positions_.size() % 1'000'000 == 1)
            checkVertexCount(positions_.size() - 1, input_.limits);
    }

    void uv(Fields& fields)
    {
        float values[2] = {0, 0};
        if (fields.numbers(values, 2) < 1)
            throw invalidLine();
        uvs_.push_back({values[0], values[1]});
    }

    void normal(Fields& fields)
    {
        float values[3];
        if (fields.numbers(values, 3) != 3)
            throw invalidLine();
        normals_.push_back({values[0], values[1], values[2]});
    }

    void object(std::string_view name)
    {
        hasObjects_ = true;
        group(name);
    }

    void group(std::string_view name)
    {
        if (part().name == name)
            return;
        if (!part().positions.empty())
            parts_.emplace_back();
        part().name = name;
    }

    Part& part() { return parts_.back(); }

    void beginFace() { beginMaterial(material_, part().faceSizes.size(), part().materials); }

    void face(Fields& fields)
    {
        beginFace();
        Index size = 0;
        while (!fields.isAtEnd()) {
            corner(fields.word());
            ++size;
        }
        if (size == 0)
            throw invalidLine();
        part().faceSizes.push_back(size);
    }

    void polyline(Fields& fields)
    {
        std::string_view from = fields.word();
        if (from.empty())
            throw invalidLine();
        while (!fields.isAtEnd()) {
            const std::string_view to = fields.word();
            beginFace();
            corner(from);
            corner(to);
            part().faceSizes.push_back(2);
            from = to;
        }
    }

    void points(Fields& fields)
    {
        while (!fields.isAtEnd()) {
            beginFace();
            corner(fields.word());
            part().faceSizes.push_back(1);
        }
    }

    void corner(std::string_view word)
    {
        const char* at = word.data();
        const char* const end = at + word.size();
        Part& part = this->part();
        part.positions.push_back(index(at, end, positions_.size()));
        Index uv = none;
        Index normal = none;
        if (at != end && *at == '/') {
            ++at;
            if (at != end && *at != '/')
                uv = index(at, end, uvs_.size());
            if (at != end && *at == '/' && ++at != end)
                normal = index(at, end, normals_.size());
        }
        if (at != end)
            throw invalidLine();
        add(uv, part.uvs);
        add(normal, part.normals);
    }

    void add(Index index, Indices& indices)
    {
        if (indices.empty() && index != none)
            indices.assign(part().positions.size() - 1, none);
        if (index != none || !indices.empty())
            indices.push_back(index);
    }

    /// Reads an index, which counts from 1, or backwards from the newest value where it is negative.
    Index index(const char*& at, const char* end, std::size_t count) const
    {
        const bool countsBack = at != end && *at == '-';
        const char* const digits = at += countsBack ? 1 : 0;
        std::int64_t value = 0;
        for (; at != end && isAsciiDigit(*at) && value < std::numeric_limits<Index>::max(); ++at)
            value = 10 * value + (*at - '0');
        if (at == digits)
            throw invalidLine();
        if (countsBack)
            value = -value;
        const std::int64_t index = value < 0 ? static_cast<std::int64_t>(count) + value : value - 1;
        if (index < 0 || static_cast<std::size_t>(index) >= count)
            throw ConversionError::unreadableSource(
                filled("la ligne {} désigne un sommet qui n'existe pas"_fr, {std::to_string(lines_.number())}));
        return static_cast<Index>(index);
    }

    Scene finished()
    {
        Scene scene;
        if (colors_.size() != positions_.size())
            colors_.clear();
        if (part().faceSizes.empty() && parts_.size() > 1)
            parts_.pop_back(); // a name at the end that no face follows
        addParts(scene);
        std::move(materials_).moveInto(scene);
        return scene;
    }

    void addParts(Scene& scene)
    {
        if (parts_.size() == 1) {
            scene.add(mesh(part(), std::move(positions_), std::move(colors_), std::move(uvs_), std::move(normals_)));
            return;
        }
        Extract<Vec3> positions{positions_};
        Extract<Vec4> colors{colors_};
        Extract<Vec2> uvs{uvs_};
        Extract<Vec3> normals{normals_};
        for (Part& each : parts_) {
            Indices ofColors = colors_.empty() ? Indices{} : each.positions;
            auto itsColors = colors.take(ofColors);
            auto itsPositions = positions.take(each.positions);
            auto itsUvs = uvs.take(each.uvs);
            auto itsNormals = normals.take(each.normals);
            scene.add(
                mesh(each, std::move(itsPositions), std::move(itsColors), std::move(itsUvs), std::move(itsNormals)));
            each = {};
        }
    }

    static Mesh mesh(Part& part, std::vector<Vec3> positions, std::vector<Vec4> colors, std::vector<Vec2> uvs,
                     std::vector<Vec3> normals)
    {
        Mesh mesh;
        mesh.name = std::move(part.name);
        mesh.positions = std::move(positions);
        mesh.corners = std::move(part.positions);
        if (std::ranges::any_of(part.faceSizes, [](Index size) { return size != 3; }))
            mesh.faceSizes = std::move(part.faceSizes);
        mesh.materials = std::move(part.materials);
        if (!colors.empty())
            mesh.colors = Attribute<Vec4>{std::move(colors), {}};
        if (!part.uvs.empty()) {
            if (std::ranges::find(part.uvs, none) != part.uvs.end()) {
                std::ranges::replace(part.uvs, none, static_cast<Index>(uvs.size()));
                uvs.push_back({});
            }
            mesh.uvSets.push_back(attribute(std::move(uvs), std::move(part.uvs), mesh));
        }
        if (!part.normals.empty()) {
            fillMissingNormals(mesh, part.normals, normals);
            mesh.normals = attribute(std::move(normals), std::move(part.normals), mesh);
        }
        return mesh;
    }

    /// Corners without a normal get that of their face.
    static void fillMissingNormals(const Mesh& mesh, Indices& corners, std::vector<Vec3>& normals)
    {
        if (std::ranges::find(corners, none) == corners.end())
            return;
        forEachFace(mesh, [&](std::size_t, std::size_t first, std::size_t size) {
            const auto ofFace = std::span{corners}.subspan(first, size);
            if (std::ranges::find(ofFace, none) == ofFace.end())
                return;
            std::ranges::replace(ofFace, none, static_cast<Index>(normals.size()));
            normals.push_back(faceNormal(mesh, first, size));
        });
    }

    /// Where each corner names value and position by one number, the values are of the vertices.
    template <class T>
    static Attribute<T> attribute(std::vector<T> values, Indices corners, const Mesh& mesh)
    {
        if (values.size() == mesh.positions.size() && corners == mesh.corners)
            corners = {};
        return {std::move(values), std::move(corners)};
    }

    const SceneInput& input_;
    LineSource lines_;
    std::string joined_;
    MaterialLibrary materials_;
    std::optional<Index> material_;
    std::vector<Vec3> positions_;
    std::vector<Vec4> colors_; // as many as positions, or what is left of an attempt
    std::vector<Vec2> uvs_;
    std::vector<Vec3> normals_;
    std::vector<Part> parts_{1};
    bool hasObjects_ = false;
};

} // namespace

Scene readObj(const SceneInput& input) { return ObjFile{input}.read(); }

} // namespace nivex::scene
