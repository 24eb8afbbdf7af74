#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"
#include "NivexWorkers/Scene/Model/Vector.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nivex::scene {

/// A reference to an object, in this part of the package or in another.
struct ObjectUse {
    std::string part; // its name in the package; empty: this part
    std::uint32_t object = 0;
    Matrix4 transform;
};

/// What triangles of an object say of their surface: a group of properties, and one of the group for each corner.
struct TriangleProperties {
    std::optional<std::uint32_t> group;
    std::array<std::uint32_t, 3> corners{};
};

/// A shape, or several put together.
struct ModelObject {
    std::string name;
    Mesh mesh;                                  // triangles, and lines for beams
    std::vector<TriangleProperties> properties; // of each face of the mesh
    TriangleProperties own;                     // of triangles that say nothing
    std::vector<ObjectUse> components;
};

struct BaseMaterial {
    std::string name;
    Vec4 color{1, 1, 1, 1}; // linear
};

/// A picture of the package, and the points in it that corners name.
struct TextureGroup {
    std::uint32_t texture = 0;
    std::vector<Vec2> points;
};

/// One part of a 3MF package that holds models ("3D/3dmodel.model").
struct ModelPart {
    double metersPerUnit = 0.001;
    std::map<std::uint32_t, ModelObject> objects;
    std::map<std::uint32_t, std::vector<BaseMaterial>> materials;
    std::map<std::uint32_t, std::vector<Vec4>> colors; // linear
    std::map<std::uint32_t, TextureGroup> textureGroups;
    std::map<std::uint32_t, std::string> textures; // names in the package
    std::vector<ObjectUse> items;                  // what is to be built
    bool hasOtherProperties = false;               // mixtures, which are left out

    /// Reads the XML of a part. Throws ConversionError.
    static ModelPart read(std::span<const std::byte> xml, const ResourceLimits& limits);
};

} // namespace nivex::scene
