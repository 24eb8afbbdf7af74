#include "NivexWorkers/Scene/Model/TextureSet.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <filesystem>

namespace nivex::scene {
namespace {

struct PictureSignature {
    std::string_view bytes;
    std::string_view extension;
    std::size_t at = 0;
};

// clang-format off
constexpr PictureSignature signatures[] = {
    {.bytes = "\x89PNG",         .extension = "png"},
    {.bytes = "\xFF\xD8\xFF",    .extension = "jpg"},
    {.bytes = "WEBP",            .extension = "webp", .at = 8},
    {.bytes = "GIF8",            .extension = "gif"},
    {.bytes = "BM",              .extension = "bmp"},
    {.bytes = {"II*\0", 4},      .extension = "tif"},
    {.bytes = {"MM\0*", 4},      .extension = "tif"},
    {.bytes = "DDS ",            .extension = "dds"},
    {.bytes = "#?RADIANCE",      .extension = "hdr"},
    {.bytes = "\x76\x2F\x31\x01", .extension = "exr"},
};
// clang-format on

std::string fileName(std::string_view path)
{
    const std::size_t separator = path.find_last_of("/\\");
    return std::string{separator == path.npos ? path : path.substr(separator + 1)};
}

} // namespace

std::string pictureExtension(std::span<const std::byte> bytes, std::string_view name)
{
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    for (const PictureSignature& each : signatures)
        if (text.size() > each.at && text.substr(each.at).starts_with(each.bytes))
            return std::string{each.extension};
    // A Targa picture begins with nothing of its own.
    return lowercased(std::filesystem::path{name}.extension().native()) == ".tga" ? "tga" : "";
}

std::optional<Index> TextureSet::file(std::string_view name)
{
    if (const auto known = byName_.find(name); known != byName_.end())
        return known->second;
    auto bytes = input_.sideFile(name);
    if (!bytes)
        input_.warn(
            filled("La texture « {} » est introuvable : le modèle est converti sans elle."_fr, {fileName(name)}));
    const auto texture = bytes ? embedded(fileName(name), *std::move(bytes)) : std::nullopt;
    byName_.emplace(name, texture);
    return texture;
}

std::optional<Index> TextureSet::embedded(std::string_view name, std::vector<std::byte> bytes)
{
    std::string extension = pictureExtension(bytes, name);
    if (extension.empty()) {
        input_.warn(filled("La texture « {} » n'est pas une image : le modèle est converti sans elle."_fr,
                           {std::string{name}}));
        return std::nullopt;
    }
    textures_.push_back({.name = std::string{name}, .extension = std::move(extension), .bytes = std::move(bytes)});
    return static_cast<Index>(textures_.size() - 1);
}

} // namespace nivex::scene
