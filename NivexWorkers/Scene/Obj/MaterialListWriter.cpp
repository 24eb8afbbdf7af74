#include "NivexWorkers/Scene/Obj/MaterialListWriter.hpp"

#include "NivexWorkers/Scene/Model/TextureFiles.hpp"
#include "NivexWorkers/Scene/Model/UniqueNames.hpp"
#include "NivexWorkers/Scene/Text/SceneFile.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::scene {
namespace {

/// Readers take a name for one word.
std::string wordOf(std::string_view name)
{
    std::string word{name.empty() ? "material" : name};
    std::ranges::replace_if(
        word, [](unsigned char each) { return each <= ' '; }, '_');
    return word;
}

class MaterialList {
public:
    MaterialList(const std::filesystem::path& location, TextureFiles& textures) : file_{location}, textures_{textures}
    {
    }

    void add(const std::string& name, const Material& material)
    {
        file_.text("newmtl ").text(name).text("\n");
        const Vec4& color = material.baseColor;
        statement("Kd", color.x, color.y, color.z);
        if (material.emissive != Vec3{})
            statement("Ke", material.emissive.x, material.emissive.y, material.emissive.z);
        if (material.alphaMode != AlphaMode::opaque)
            statement("d", color.w);
        // The exponent of Phong's whose highlights are as wide.
        const float squared = std::max(material.roughness * material.roughness, 0.002F);
        statement("Ns", std::max(2 / squared - 2, 0.0F));
        statement("Pr", material.roughness);
        statement("Pm", material.metallic);
        texture("map_Kd", material.baseColorTexture);
        texture("map_Ke", material.emissiveTexture);
        texture("norm", material.normalTexture);
    }

    void finish() { file_.finish(); }

private:
    template <class... Numbers>
    void statement(std::string_view keyword, Numbers... numbers)
    {
        file_.text(keyword);
        (file_.text(" ").number(numbers), ...);
        file_.text("\n");
    }

    void texture(std::string_view keyword, const std::optional<TextureUse>& use)
    {
        if (!use)
            return;
        file_.text(keyword);
        if (use->scale != Vec2{1, 1})
            file_.text(" -s ").number(use->scale.x).text(" ").number(use->scale.y).text(" 1");
        if (use->offset != Vec2{0, 0})
            file_.text(" -o ").number(use->offset.x).text(" ").number(use->offset.y).text(" 0");
        if (use->wrapS == TextureWrap::clamp && use->wrapT == TextureWrap::clamp)
            file_.text(" -clamp on");
        file_.text(" ").text(textures_.nameOf(use->texture)).text("\n");
    }

    SceneFile file_;
    TextureFiles& textures_;
};

bool isSimplified(const Material& material) { return material.metallicRoughnessTexture || material.occlusionTexture; }

} // namespace

std::vector<std::string> writeMaterialList(const Scene& scene, const std::filesystem::path& location,
                                           SceneOutput& output)
{
    TextureFiles textures{scene, output};
    MaterialList list{location, textures};
    UniqueNames taken;
    std::vector<std::string> names;
    for (const Material& each : scene.materials)
        list.add(names.emplace_back(taken.of(wordOf(each.name))), each);
    list.finish();
    if (std::ranges::any_of(scene.materials, isSimplified))
        output.warn(
            "Les textures de rugosité, de métal et d'ombrage ne sont pas reprises : le format OBJ n'en a pas."_fr);
    return names;
}

} // namespace nivex::scene
