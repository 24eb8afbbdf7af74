#include "NivexWorkers/Scene/Obj/MaterialLibrary.hpp"

#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::scene {
namespace {

/// The roughness whose highlights are as wide as those of an exponent of Phong's.
float roughnessOf(float exponent) { return std::sqrt(2 / (2 + std::clamp(exponent, 0.0F, 1e6F))); }

bool color(Fields& fields, Vec3& value)
{
    float parts[3];
    const int count = fields.numbers(parts, 3);
    if (count == 1)
        value = {parts[0], parts[0], parts[0]};
    else if (count == 3)
        value = {parts[0], parts[1], parts[2]};
    return count == 1 || count == 3;
}

} // namespace

void MaterialLibrary::read(std::string_view names)
{
    // A single name may have blanks; several names are kept apart by them.
    if (readList(names))
        return;
    bool isFound = false;
    for (Fields fields{names}; !fields.isAtEnd();)
        isFound |= readList(fields.word());
    if (!isFound)
        input_.warn(filled("La liste de matériaux « {} » est introuvable : le modèle est converti sans elle."_fr,
                           {std::string{names}}));
}

bool MaterialLibrary::readList(std::string_view name)
{
    const auto bytes = input_.sideFile(name);
    if (!bytes)
        return false;
    const std::size_t separator = name.find_last_of("/\\");
    const std::string_view folder = separator == name.npos ? "" : name.substr(0, separator + 1);
    const MemorySource source{*bytes};
    const SceneInput list{.bytes = source, .limits = input_.limits};
    LineSource lines{list};
    std::string_view line;
    bool hasBegun = false;
    while (lines.next(line)) {
        Fields fields{line};
        const std::string_view keyword = fields.word();
        if (keyword == "newmtl") {
            current_ = use(fields.rest());
            hasBegun = true;
        } else if (hasBegun) {
            statement(keyword, fields, folder);
        }
    }
    return true;
}

void MaterialLibrary::statement(std::string_view keyword, Fields& fields, std::string_view folder)
{
    Vec3 value;
    float number = 0;
    if (keyword == "Kd" && color(fields, value))
        current().baseColor = {value.x, value.y, value.z, current().baseColor.w};
    else if (keyword == "Ke" && color(fields, value))
        current().emissive = value;
    else if (keyword == "Ns" && fields.number(number))
        current().roughness = roughnessOf(number);
    else if (keyword == "d" && fields.number(number))
        current().baseColor.w = number;
    else if (keyword == "Tr" && fields.number(number))
        current().baseColor.w = 1 - number;
    else if (keyword == "Pr" && fields.number(number))
        current().roughness = number;
    else if (keyword == "Pm" && fields.number(number))
        current().metallic = number;
    else if (keyword == "map_Kd")
        current().baseColorTexture = texture(fields, folder);
    else if (keyword == "map_Ke")
        current().emissiveTexture = texture(fields, folder);
    else if (keyword == "norm")
        current().normalTexture = texture(fields, folder);
}

std::optional<TextureUse> MaterialLibrary::texture(Fields& fields, std::string_view folder)
{
    TextureUse use;
    float numbers[3];
    while (fields.rest().starts_with('-')) {
        const std::string_view option = fields.word();
        if (option == "-s" || option == "-o" || option == "-t") {
            const int count = fields.numbers(numbers, 3);
            Vec2& value = option == "-s" ? use.scale : use.offset;
            if (option != "-t" && count > 0)
                value = {numbers[0], count > 1 ? numbers[1] : value.y};
        } else if (option == "-clamp") {
            use.wrapS = use.wrapT = fields.word() == "on" ? TextureWrap::clamp : TextureWrap::repeat;
        } else if (option == "-mm") {
            fields.numbers(numbers, 2);
        } else {
            fields.word();
        }
    }
    if (fields.isAtEnd())
        return std::nullopt;
    const auto found = textures_.file(std::string{folder}.append(fields.rest()));
    if (!found)
        return std::nullopt;
    use.texture = *found;
    return use;
}

Index MaterialLibrary::use(std::string_view name)
{
    if (const auto known = byName_.find(name); known != byName_.end())
        return known->second;
    const auto index = static_cast<Index>(materials_.size());
    materials_.push_back({.name = std::string{name}});
    byName_.emplace(name, index);
    return index;
}

void MaterialLibrary::moveInto(Scene& scene) &&
{
    for (Material& each : materials_)
        if (each.baseColor.w < 1)
            each.alphaMode = AlphaMode::blend;
    scene.materials = std::move(materials_);
    scene.textures = std::move(textures_).release();
}

} // namespace nivex::scene
