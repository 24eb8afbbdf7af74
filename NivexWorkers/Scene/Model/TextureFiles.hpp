#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

#include <map>
#include <string>

namespace nivex::scene {

/// The textures of a scene as files beside the output: those that are used.
class TextureFiles {
public:
    /// Both outlive this.
    TextureFiles(const Scene& scene, SceneOutput& output) : scene_{scene}, output_{output} {}

    /// The name of the texture's file, which is written when it is first asked for.
    const std::string& nameOf(Index texture);

private:
    const Scene& scene_;
    SceneOutput& output_;
    std::map<Index, std::string> names_;
};

} // namespace nivex::scene
