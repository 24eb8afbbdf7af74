#pragma once

#include "NivexWorkers/Scene/Model/SceneCheck.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"
#include "NivexWorkers/Scene/Model/Triangulation.hpp"
#include "NivexWorkers/Scene/Model/UnifiedVertices.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace nivex::scene {

/// Reads bytes as a scene. Whatever they are, a reader makes a scene of them that passes the check, and that can be cut
/// into triangles and into vertices that have all, or throws a ConversionError. Any file beside it is the same bytes.
inline int readToTheLastFace(Scene (*read)(const SceneInput&), const std::uint8_t* data, std::size_t size)
{
    const auto bytes = std::as_bytes(std::span{data, size});
    const MemorySource source{bytes};
    SceneInput input{.bytes = source, .limits = {.maxSceneVertices = 100'000}};
    input.sideFile = [bytes](std::string_view) { return std::vector<std::byte>{bytes.begin(), bytes.end()}; };
    try {
        const Scene scene = read(input);
        checkScene(scene, input.limits);
        for (const ShownMesh& shown : shownMeshes(scene)) {
            const Triangulation triangles{*shown.mesh};
            const UnifiedVertices vertices = UnifiedVertices::ofAll(*shown.mesh);
            for (std::size_t i = 0; i < triangles.triangleCount(); ++i)
                for (std::size_t j = 0; j < 3; ++j)
                    if (vertices.vertex(triangles.corner(i, j)) >= vertices.count())
                        std::abort();
        }
    } catch (const ConversionError&) {
    }
    return 0;
}

} // namespace nivex::scene
