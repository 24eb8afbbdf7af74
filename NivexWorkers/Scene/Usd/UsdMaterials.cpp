#include "NivexWorkers/Scene/Usd/UsdMaterials.hpp"

#include "NivexWorkers/Scene/Model/UniqueNames.hpp"

#include <numbers>

namespace nivex::scene {
namespace {

std::string_view wrapName(TextureWrap wrap)
{
    return wrap == TextureWrap::clamp ? "clamp" : wrap == TextureWrap::mirror ? "mirror" : "repeat";
}

/// What of a texture enters the surface, and how it is made of what the picture stores.
struct Input {
    std::string_view name; // of the shader that reads the picture
    bool isColor;          // as people see it, not numbers
    Vec4 scale{1, 1, 1, 1};
    Vec4 bias{0, 0, 0, 0};
};

std::string fourOf(Vec4 v)
{
    return "(" + UsdText::of(v.x) + ", " + UsdText::of(v.y) + ", " + UsdText::of(v.z) + ", " + UsdText::of(v.w) + ")";
}

class MaterialWriter {
public:
    MaterialWriter(const std::string& path, const UsdTextureName& textureName, UsdText& text)
        : path_{path}, textureName_{textureName}, text_{text}
    {
    }

    void write(const std::string& name, const Material& material)
    {
        text_.open("def Material \"" + name + "\"");
        text_.line("token outputs:surface.connect = <" + path_ + "/Surface.outputs:surface>");
        surface(material);
        readers(material);
        text_.close();
    }

private:
    void surface(const Material& material)
    {
        const Vec4& color = material.baseColor;
        text_.open("def Shader \"Surface\"");
        text_.line("uniform token info:id = \"UsdPreviewSurface\"");
        input("color3f", "diffuseColor", UsdText::of(Vec3{color.x, color.y, color.z}), material.baseColorTexture,
              "Color.outputs:rgb");
        input("float", "metallic", UsdText::of(material.metallic), material.metallicRoughnessTexture,
              "Metallic.outputs:b");
        input("float", "roughness", UsdText::of(material.roughness), material.metallicRoughnessTexture,
              "Metallic.outputs:g");
        input("color3f", "emissiveColor", UsdText::of(material.emissive), material.emissiveTexture,
              "Emission.outputs:rgb");
        if (material.alphaMode != AlphaMode::opaque)
            input("float", "opacity", UsdText::of(color.w), material.baseColorTexture, "Color.outputs:a");
        if (material.alphaMode == AlphaMode::mask)
            text_.line("float inputs:opacityThreshold = " + UsdText::of(material.alphaCutoff));
        if (isThere(material.normalTexture))
            input("normal3f", "normal", {}, material.normalTexture, "Normal.outputs:rgb");
        if (isThere(material.occlusionTexture))
            input("float", "occlusion", {}, material.occlusionTexture, "Occlusion.outputs:r");
        text_.line("token outputs:surface");
        text_.close();
    }

    bool isThere(const std::optional<TextureUse>& use) const { return use && !textureName_(use->texture).empty(); }

    /// A value of the surface: from a texture where there is one.
    void input(std::string_view type, std::string_view name, const std::string& value,
               const std::optional<TextureUse>& use, std::string_view from)
    {
        const std::string declaration = std::string{type} + " inputs:" + std::string{name};
        if (isThere(use))
            text_.line(declaration + ".connect = <" + path_ + "/" + std::string{from} + ">");
        else
            text_.line(declaration + " = " + value);
    }

    void readers(const Material& material)
    {
        const Vec3& light = material.emissive;
        const float normal = 2 * material.normalScale;
        reader(material.baseColorTexture, {.name = "Color", .isColor = true, .scale = material.baseColor});
        reader(material.metallicRoughnessTexture,
               {.name = "Metallic", .isColor = false, .scale = {1, material.roughness, material.metallic, 1}});
        reader(material.emissiveTexture,
               {.name = "Emission", .isColor = true, .scale = {light.x, light.y, light.z, 1}});
        reader(material.normalTexture, {.name = "Normal",
                                        .isColor = false,
                                        .scale = {normal, normal, 2, 1},
                                        .bias = {-material.normalScale, -material.normalScale, -1, 0}});
        reader(material.occlusionTexture, {.name = "Occlusion", .isColor = false});
    }

    void reader(const std::optional<TextureUse>& use, const Input& input)
    {
        if (!isThere(use))
            return;
        const std::string name{input.name};
        text_.open("def Shader \"" + name + "\"");
        text_.line("uniform token info:id = \"UsdUVTexture\"");
        text_.line("asset inputs:file = @" + textureName_(use->texture) + "@");
        text_.line("float2 inputs:st.connect = <" + path_ + "/" + name + (use->isMoved() ? "Place" : "Point") +
                   ".outputs:result>");
        text_.line("token inputs:wrapS = \"" + std::string{wrapName(use->wrapS)} + "\"");
        text_.line("token inputs:wrapT = \"" + std::string{wrapName(use->wrapT)} + "\"");
        text_.line("float4 inputs:scale = " + fourOf(input.scale));
        text_.line("float4 inputs:bias = " + fourOf(input.bias));
        text_.line(std::string{"token inputs:sourceColorSpace = "} + (input.isColor ? "\"sRGB\"" : "\"raw\""));
        for (const char* each :
             {"float outputs:r", "float outputs:g", "float outputs:b", "float outputs:a", "float3 outputs:rgb"})
            text_.line(each);
        text_.close();
        point(*use, name);
    }

    void point(const TextureUse& use, const std::string& name)
    {
        text_.open("def Shader \"" + name + "Point\"");
        text_.line("uniform token info:id = \"UsdPrimvarReader_float2\"");
        text_.line("string inputs:varname = \"" + usdUvSetName(use.uvSet) + "\"");
        text_.line("float2 outputs:result");
        text_.close();
        if (!use.isMoved())
            return;
        text_.open("def Shader \"" + name + "Place\"");
        text_.line("uniform token info:id = \"UsdTransform2d\"");
        text_.line("float2 inputs:in.connect = <" + path_ + "/" + name + "Point.outputs:result>");
        text_.line("float2 inputs:scale = " + UsdText::of(use.scale));
        text_.line("float inputs:rotation = " + UsdText::of(use.rotation * 180 / std::numbers::pi_v<float>));
        text_.line("float2 inputs:translation = " + UsdText::of(use.offset));
        text_.line("float2 outputs:result");
        text_.close();
    }

    const std::string& path_;
    const UsdTextureName& textureName_;
    UsdText& text_;
};

} // namespace

std::string usdUvSetName(Index uvSet) { return uvSet == 0 ? "st" : "st" + std::to_string(uvSet); }

std::vector<std::string> writeUsdMaterials(const Scene& scene, const std::string& path,
                                           const UsdTextureName& textureName, UsdText& text)
{
    std::vector<std::string> paths;
    UniqueNames names;
    for (const Material& each : scene.materials) {
        const std::string name = names.of(UsdText::identifier(each.name.empty() ? "material" : each.name));
        paths.push_back(path + "/" + name);
        MaterialWriter{paths.back(), textureName, text}.write(name, each);
    }
    return paths;
}

} // namespace nivex::scene
