#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"
#include "NivexWorkers/Scene/Model/TextureSet.hpp"

#include <map>
#include <string>
#include <string_view>

namespace nivex::scene {

class Fields;

/// The materials of an OBJ file, from the lists (MTL) that it names.
class MaterialLibrary {
public:
    /// The input outlives this.
    explicit MaterialLibrary(const SceneInput& input) : input_{input}, textures_{input} {}

    /// Reads the lists that a statement "mtllib" names. One that is not to be had is told in a warning.
    void read(std::string_view names);

    /// The material of a name; one that no list has is plain.
    Index use(std::string_view name);

    /// Hands over all materials and textures.
    void moveInto(Scene& scene) &&;

private:
    bool readList(std::string_view name);
    void statement(std::string_view keyword, Fields& fields, std::string_view folder);
    std::optional<TextureUse> texture(Fields& fields, std::string_view folder);
    Material& current() { return materials_[current_]; }

    const SceneInput& input_;
    TextureSet textures_;
    std::vector<Material> materials_;
    std::map<std::string, Index, std::less<>> byName_;
    Index current_ = 0;
};

} // namespace nivex::scene
