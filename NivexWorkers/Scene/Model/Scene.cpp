#include "NivexWorkers/Scene/Model/Scene.hpp"

namespace nivex::scene {

std::vector<ShownMesh> shownMeshes(const Scene& scene)
{
    std::vector<Matrix4> toWorld;
    std::vector<ShownMesh> shown;
    toWorld.reserve(scene.nodes.size());
    for (const Node& node : scene.nodes) {
        toWorld.push_back(node.parent ? toWorld[*node.parent] * node.matrix() : node.matrix());
        for (const Index mesh : node.meshes)
            shown.push_back({&scene.meshes[mesh], &node, toWorld.back()});
    }
    return shown;
}

} // namespace nivex::scene
