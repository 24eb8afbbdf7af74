#include "NivexWorkers/Scene/ThreeMf/ThreeMfReader.hpp"

#include "NivexWorkers/Scene/Model/TextureSet.hpp"
#include "NivexWorkers/Scene/ThreeMf/ModelPart.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace nivex::scene {
namespace {

constexpr std::string_view mainPart = "3D/3dmodel.model";
constexpr std::size_t mostNodes = 100'000;
constexpr std::size_t deepestComponents = 64;

ConversionError damaged(std::string_view cause)
{
    return ConversionError::unreadableSource("les données du modèle sont endommagées"_fr)
        .because("3MF: " + std::string{cause});
}

class Package {
public:
    explicit Package(const SceneInput& input) : input_{input}, archive_{input.bytes, input.limits}, textures_{input} {}

    Scene read()
    {
        const std::string main = mainPartName();
        for (const ObjectUse& item : part(main).items)
            show(item, main);
        if (part(main).hasOtherProperties)
            input_.warn("Les mélanges de matériaux du fichier 3MF ne sont pas repris."_fr);
        scene_.frame = Frame{.up = UpAxis::z, .metersPerUnit = part(main).metersPerUnit};
        scene_.textures = std::move(textures_).release();
        return std::move(scene_);
    }

private:
    struct Pending {
        ObjectUse use;
        std::string from; // the part that names it
        std::optional<Index> parent;
        std::size_t depth;
    };

    /// Packages with their main part elsewhere have only one part of its kind at the top.
    std::string mainPartName() const
    {
        if (archive_.entry(mainPart))
            return std::string{mainPart};
        const auto found = std::ranges::find_if(
            archive_.entries(), [](const ZipArchive::Entry& entry) { return entry.storedName.ends_with(".model"); });
        if (found == archive_.entries().end())
            throw damaged("no model");
        return found->storedName;
    }

    const ModelPart& part(const std::string& name)
    {
        const auto known = parts_.find(name);
        if (known != parts_.end())
            return known->second;
        const ZipArchive::Entry* entry = archive_.entry(name);
        if (!entry)
            throw damaged(name);
        unpacked_ += entry->uncompressedSize;
        if (unpacked_ > static_cast<std::uint64_t>(input_.limits.maxUnzippedEntryBytes))
            throw ConversionError::resourceLimit("le contenu décompressé du fichier est trop volumineux"_fr);
        return parts_.emplace(name, ModelPart::read(archive_.contents(*entry), input_.limits)).first->second;
    }

    /// Adds the nodes of an item. Components that name each other end at the bounds.
    void show(const ObjectUse& item, const std::string& from)
    {
        std::vector<Pending> pending{{item, from, std::nullopt, 0}};
        while (!pending.empty()) {
            const Pending next = std::move(pending.back());
            pending.pop_back();
            if (scene_.nodes.size() == mostNodes || next.depth > deepestComponents)
                throw damaged("components");
            const std::string name = next.use.part.empty() ? next.from : next.use.part;
            const ModelPart& part = this->part(name);
            const auto object = part.objects.find(next.use.object);
            if (object == part.objects.end())
                throw damaged("object " + std::to_string(next.use.object));
            const auto index = static_cast<Index>(scene_.nodes.size());
            scene_.nodes.push_back(
                {.name = object->second.name, .transform = next.use.transform, .parent = next.parent, .meshes = {}});
            if (!object->second.mesh.positions.empty())
                scene_.nodes.back().meshes.push_back(mesh(name, part, *object));
            const auto& components = object->second.components;
            for (auto each = components.rbegin(); each != components.rend(); ++each)
                pending.push_back({*each, name, index, next.depth + 1});
        }
    }

    Index mesh(const std::string& partName, const ModelPart& part,
               const std::pair<const std::uint32_t, ModelObject>& object)
    {
        const auto [known, isNew] =
            meshes_.try_emplace({partName, object.first}, static_cast<Index>(scene_.meshes.size()));
        if (!isNew)
            return known->second;
        Mesh mesh = object.second.mesh;
        mesh.name = object.second.name;
        surface(partName, part, object.second, mesh);
        scene_.meshes.push_back(std::move(mesh));
        return known->second;
    }

    /// Gives a mesh the materials, colours and points of textures that its triangles name.
    void surface(const std::string& partName, const ModelPart& part, const ModelObject& object, Mesh& mesh)
    {
        Attribute<Vec4> colors{{{1, 1, 1, 1}}, {}};
        Attribute<Vec2> uvs{{{0, 0}}, {}};
        forEachFace(mesh, [&](std::size_t face, std::size_t, std::size_t size) {
            const TriangleProperties& properties = object.properties[face];
            const std::uint32_t group = properties.group.value_or(0);
            beginMaterial(properties.group ? material(partName, part, properties) : std::nullopt, face, mesh.materials);
            const auto ofColors = part.colors.find(group);
            const auto ofPoints = part.textureGroups.find(group);
            for (std::size_t i = 0; i < size; ++i) {
                const std::uint32_t named = properties.corners[std::min<std::size_t>(i, 2)];
                take(ofColors != part.colors.end() ? &ofColors->second : nullptr, named, colors);
                take(ofPoints != part.textureGroups.end() ? &ofPoints->second.points : nullptr, named, uvs);
            }
        });
        if (colors.values.size() > 1)
            mesh.colors = std::move(colors);
        if (uvs.values.size() > 1)
            mesh.uvSets.push_back(std::move(uvs));
    }

    /// The value that a corner names, or the first, which stands for none.
    template <class T>
    static void take(const std::vector<T>* group, std::uint32_t named, Attribute<T>& attribute)
    {
        if (group && named >= group->size())
            throw damaged("property index");
        attribute.corners.push_back(group ? static_cast<Index>(attribute.values.size()) : 0);
        if (group)
            attribute.values.push_back((*group)[named]);
    }

    std::optional<Index> material(const std::string& partName, const ModelPart& part,
                                  const TriangleProperties& properties)
    {
        const std::uint32_t group = *properties.group;
        const auto bases = part.materials.find(group);
        const auto points = part.textureGroups.find(group);
        if (bases == part.materials.end() && points == part.textureGroups.end())
            return std::nullopt;
        const std::uint32_t number = bases != part.materials.end() ? properties.corners[0] : 0;
        const auto [known, isNew] =
            materials_.try_emplace({partName, group, number}, static_cast<Index>(scene_.materials.size()));
        if (!isNew)
            return known->second;
        if (bases != part.materials.end()) {
            if (number >= bases->second.size())
                throw damaged("property index");
            const BaseMaterial& base = bases->second[number];
            scene_.materials.push_back({.name = base.name, .baseColor = base.color});
            if (base.color.w < 1)
                scene_.materials.back().alphaMode = AlphaMode::blend;
        } else {
            scene_.materials.push_back({});
            if (const auto picture = texture(part, points->second.texture))
                scene_.materials.back().baseColorTexture = TextureUse{.texture = *picture};
        }
        return known->second;
    }

    std::optional<Index> texture(const ModelPart& part, std::uint32_t id)
    {
        const auto name = part.textures.find(id);
        const ZipArchive::Entry* entry = name == part.textures.end() ? nullptr : archive_.entry(name->second);
        if (!entry)
            throw damaged("texture");
        const auto [known, isNew] = pictures_.try_emplace(name->second);
        if (isNew)
            known->second =
                textures_.embedded(name->second.substr(name->second.rfind('/') + 1), archive_.contents(*entry));
        return known->second;
    }

    const SceneInput& input_;
    ZipArchive::Reader archive_;
    TextureSet textures_;
    Scene scene_;
    std::uint64_t unpacked_ = 0;
    std::map<std::string, ModelPart> parts_;
    std::map<std::pair<std::string, std::uint32_t>, Index> meshes_;
    std::map<std::tuple<std::string, std::uint32_t, std::uint32_t>, Index> materials_;
    std::map<std::string, std::optional<Index>> pictures_;
};

} // namespace

Scene read3mf(const SceneInput& input) { return Package{input}.read(); }

} // namespace nivex::scene
