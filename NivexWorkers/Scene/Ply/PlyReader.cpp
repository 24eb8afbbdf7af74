#include "NivexWorkers/Scene/Ply/PlyReader.hpp"

#include "NivexWorkers/Scene/Model/Colors.hpp"
#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/TextureSet.hpp"
#include "NivexWorkers/Scene/Ply/PlyNumbers.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace nivex::scene {
namespace {

/// What a property of a vertex or a face means.
enum class Meaning { none, x, y, z, nx, ny, nz, u, v, red, green, blue, alpha, count };

struct PropertyName {
    std::string_view name;
    Meaning meaning;
};

// clang-format off
constexpr PropertyName propertyNames[] = {
    {"x", Meaning::x},   {"y", Meaning::y},   {"z", Meaning::z},
    {"nx", Meaning::nx}, {"ny", Meaning::ny}, {"nz", Meaning::nz},
    {"normal_x", Meaning::nx}, {"normal_y", Meaning::ny}, {"normal_z", Meaning::nz},
    {"s", Meaning::u}, {"t", Meaning::v}, {"u", Meaning::u}, {"v", Meaning::v},
    {"texture_u", Meaning::u}, {"texture_v", Meaning::v},
    {"red", Meaning::red}, {"green", Meaning::green}, {"blue", Meaning::blue}, {"alpha", Meaning::alpha},
    {"r", Meaning::red}, {"g", Meaning::green}, {"b", Meaning::blue}, {"a", Meaning::alpha},
    {"diffuse_red", Meaning::red}, {"diffuse_green", Meaning::green}, {"diffuse_blue", Meaning::blue},
};
// clang-format on

constexpr std::size_t meaningCount = static_cast<std::size_t>(Meaning::count);

Meaning meaningOf(const PlyProperty& property)
{
    const auto found = std::ranges::find(propertyNames, std::string_view{property.name}, &PropertyName::name);
    return property.length || found == std::end(propertyNames) ? Meaning::none : found->meaning;
}

/// The largest colour that a type stores; floating-point ones store parts of 1.
double fullOf(PlyType type)
{
    switch (type) {
    case PlyType::int8:
    case PlyType::uint8:
        return 255;
    case PlyType::int16:
    case PlyType::uint16:
        return 65'535;
    case PlyType::int32:
    case PlyType::uint32:
        return 4'294'967'295.0;
    default:
        return 1;
    }
}

/// The row of an element in which lists are passed over.
class Row {
public:
    explicit Row(const PlyElement& element)
    {
        for (const PlyProperty& each : element.properties) {
            const Meaning meaning = meaningOf(each);
            const bool isColor = meaning >= Meaning::red && meaning <= Meaning::alpha;
            columns_.push_back({each, meaning, isColor ? fullOf(each.type) : 1.0});
            has_[static_cast<std::size_t>(meaning)] = true;
        }
        values_[static_cast<std::size_t>(Meaning::alpha)] = 1;
    }

    bool has(Meaning meaning) const { return has_[static_cast<std::size_t>(meaning)]; }

    /// Calls `list(property, length)` for each list, which must take all of its numbers.
    template <class List>
    void read(PlyNumbers& numbers, List list)
    {
        numbers.beginRow();
        for (const Column& each : columns_) {
            if (each.property.length)
                list(each.property, numbers.nextLength(*each.property.length));
            else
                values_[static_cast<std::size_t>(each.meaning)] =
                    static_cast<float>(numbers.next(each.property.type) / each.full);
        }
    }

    float operator[](Meaning meaning) const { return values_[static_cast<std::size_t>(meaning)]; }

    Vec4 color() const
    {
        return linearFromSrgb(
            {(*this)[Meaning::red], (*this)[Meaning::green], (*this)[Meaning::blue], (*this)[Meaning::alpha]});
    }

private:
    struct Column {
        const PlyProperty& property;
        Meaning meaning;
        double full;
    };

    std::vector<Column> columns_;
    std::array<bool, meaningCount> has_{};
    std::array<float, meaningCount> values_{};
};

void passOver(PlyNumbers& numbers, const PlyProperty& property, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i)
        numbers.next(property.type);
}

class PlyFile {
public:
    explicit PlyFile(const SceneInput& input)
        : input_{input}, header_{PlyHeader::read(input)}, numbers_{PlyNumbers::of(input, header_)}
    {
    }

    Scene read()
    {
        for (const PlyElement& each : header_.elements) {
            if (each.name == "vertex")
                vertices(each);
            else if (each.name == "face")
                faces(each);
            else if (each.name == "tristrips")
                strips(each);
            else if (each.name == "edge")
                edges(each);
            else
                others(each);
        }
        // Edges and strips behind the faces have no values of their own.
        for (Attribute<Vec2>& uvs : mesh_.uvSets)
            fillCorners(uvs);
        if (mesh_.colors)
            fillCorners(*mesh_.colors);
        Scene scene;
        if (!mesh_.uvSets.empty() && !header_.textureFile.empty())
            addTexture(scene);
        scene.add(std::move(mesh_));
        return scene;
    }

private:
    template <class T>
    void fillCorners(Attribute<T>& attribute) const
    {
        if (!attribute.isOfVertices())
            attribute.corners.resize(mesh_.corners.size());
    }

    void vertices(const PlyElement& element)
    {
        Row row{element};
        if (!row.has(Meaning::x) || !row.has(Meaning::y) || !row.has(Meaning::z))
            throw ConversionError::unreadableSource("l'en-tête PLY est invalide"_fr).because("vertex without x, y, z");
        checkVertexCount(element.count, input_.limits);
        std::vector<Vec3> normals;
        std::vector<Vec2> uvs;
        std::vector<Vec4> colors;
        for (std::uint64_t i = 0; i < element.count; ++i) {
            row.read(*numbers_,
                     [this](const PlyProperty& list, std::size_t length) { passOver(*numbers_, list, length); });
            mesh_.positions.push_back({row[Meaning::x], row[Meaning::y], row[Meaning::z]});
            if (row.has(Meaning::nx))
                normals.push_back({row[Meaning::nx], row[Meaning::ny], row[Meaning::nz]});
            if (row.has(Meaning::u))
                uvs.push_back({row[Meaning::u], row[Meaning::v]});
            if (row.has(Meaning::red))
                colors.push_back(row.color());
        }
        if (row.has(Meaning::nx))
            mesh_.normals = Attribute<Vec3>{std::move(normals), {}};
        if (row.has(Meaning::u))
            mesh_.uvSets.push_back({std::move(uvs), {}});
        if (row.has(Meaning::red))
            mesh_.colors = Attribute<Vec4>{std::move(colors), {}};
    }

    void faces(const PlyElement& element)
    {
        Row row{element};
        std::vector<float> uvs; // of one face, two numbers for each corner
        Attribute<Vec2> ofCorners;
        Attribute<Vec4> ofFaces;
        for (std::uint64_t i = 0; i < element.count; ++i) {
            const std::size_t first = mesh_.corners.size();
            uvs.clear();
            row.read(*numbers_, [&](const PlyProperty& list, std::size_t length) {
                if (list.name == "vertex_indices" || list.name == "vertex_index")
                    face(list, length);
                else if (list.name == "texcoord")
                    for (std::size_t j = 0; j < length; ++j)
                        uvs.push_back(static_cast<float>(numbers_->next(list.type)));
                else
                    passOver(*numbers_, list, length);
            });
            const std::size_t size = mesh_.corners.size() - first;
            takeUvs(uvs, size, ofCorners);
            if (row.has(Meaning::red)) {
                ofFaces.corners.insert(ofFaces.corners.end(), size, static_cast<Index>(ofFaces.values.size()));
                ofFaces.values.push_back(row.color());
            }
        }
        if (!ofCorners.values.empty() && mesh_.uvSets.empty())
            mesh_.uvSets.push_back(std::move(ofCorners));
        if (!ofFaces.corners.empty() && !mesh_.colors)
            mesh_.colors = std::move(ofFaces);
    }

    void face(const PlyProperty& list, std::size_t length)
    {
        for (std::size_t j = 0; j < length; ++j)
            mesh_.corners.push_back(vertex(numbers_->next(list.type)));
        if (length > 0)
            addFaceOf(length, mesh_);
    }

    /// A face without coordinates among others that have them gets some that show one point.
    static void takeUvs(const std::vector<float>& uvs, std::size_t size, Attribute<Vec2>& attribute)
    {
        for (std::size_t j = 0; j < size; ++j) {
            const bool isThere = 2 * j + 1 < uvs.size();
            attribute.corners.push_back(static_cast<Index>(isThere ? attribute.values.size() : 0));
            if (isThere)
                attribute.values.push_back({uvs[2 * j], uvs[2 * j + 1]});
        }
    }

    void strips(const PlyElement& element)
    {
        Row row{element};
        for (std::uint64_t i = 0; i < element.count; ++i)
            row.read(*numbers_, [&](const PlyProperty& list, std::size_t length) {
                if (list.name == "vertex_indices" || list.name == "vertex_index")
                    strip(list, length);
                else
                    passOver(*numbers_, list, length);
            });
    }

    /// Strips are kept apart by -1; every second triangle turns the other way.
    void strip(const PlyProperty& list, std::size_t length)
    {
        std::array<Index, 2> before{};
        std::size_t read = 0;
        for (std::size_t i = 0; i < length; ++i) {
            const double number = numbers_->next(list.type);
            if (number == -1) {
                read = 0;
                continue;
            }
            const Index current = vertex(number);
            if (read >= 2) {
                const bool isTurned = read % 2 == 1;
                mesh_.corners.insert(mesh_.corners.end(),
                                     {before[isTurned ? 1 : 0], before[isTurned ? 0 : 1], current});
                addFaceOf(3, mesh_);
            }
            before = {before[1], current};
            ++read;
        }
    }

    void edges(const PlyElement& element)
    {
        for (std::uint64_t i = 0; i < element.count; ++i) {
            numbers_->beginRow();
            std::optional<Index> from;
            std::optional<Index> to;
            for (const PlyProperty& each : element.properties) {
                if (each.length)
                    passOver(*numbers_, each, numbers_->nextLength(*each.length));
                else if (const double number = numbers_->next(each.type); each.name == "vertex1")
                    from = vertex(number);
                else if (each.name == "vertex2")
                    to = vertex(number);
            }
            if (from && to) {
                mesh_.corners.insert(mesh_.corners.end(), {*from, *to});
                addFaceOf(2, mesh_);
            }
        }
    }

    void others(const PlyElement& element)
    {
        for (std::uint64_t i = 0; i < element.count; ++i) {
            numbers_->beginRow();
            for (const PlyProperty& each : element.properties)
                passOver(*numbers_, each, each.length ? numbers_->nextLength(*each.length) : 1);
        }
    }

    Index vertex(double number) const
    {
        if (!(number >= 0) || number >= static_cast<double>(mesh_.positions.size()))
            throw ConversionError::unreadableSource("une face désigne un sommet qui n'existe pas"_fr);
        return static_cast<Index>(number);
    }

    void addTexture(Scene& scene)
    {
        TextureSet textures{input_};
        const auto texture = textures.file(header_.textureFile);
        if (!texture)
            return;
        scene.materials.push_back({.name = header_.textureFile, .baseColorTexture = TextureUse{.texture = *texture}});
        scene.textures = std::move(textures).release();
        mesh_.materials = {{.firstFace = 0, .material = 0}};
    }

    const SceneInput& input_;
    PlyHeader header_;
    std::unique_ptr<PlyNumbers> numbers_;
    Mesh mesh_;
};

} // namespace

Scene readPly(const SceneInput& input) { return PlyFile{input}.read(); }

} // namespace nivex::scene
