#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include <map>
#include <span>
#include <string>
#include <string_view>

namespace nivex::scene {

/// The extension that suits a picture, told by its first bytes; by its name where these do not tell. Empty for what is
/// no picture.
std::string pictureExtension(std::span<const std::byte> bytes, std::string_view name);

/// Gathers the pictures that the materials of a scene use, each once.
class TextureSet {
public:
    /// The input outlives this.
    explicit TextureSet(const SceneInput& input) : input_{input} {}

    /// The texture in a file that the input calls by this name; none, with a warning, where it is not to be had or is
    /// no picture.
    std::optional<Index> file(std::string_view name);

    /// One that lies in the input itself. `name` may be empty.
    std::optional<Index> embedded(std::string_view name, std::vector<std::byte> bytes);

    std::vector<Texture> release() && { return std::move(textures_); }

private:
    const SceneInput& input_;
    std::vector<Texture> textures_;
    std::map<std::string, std::optional<Index>, std::less<>> byName_;
};

} // namespace nivex::scene
