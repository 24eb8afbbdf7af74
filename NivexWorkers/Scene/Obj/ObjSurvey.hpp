#pragma once

#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex::scene {

/// Measures whether faces of an OBJ file have materials, by its statements alone.
SourceProperties surveyObj(const SceneInput& input);

} // namespace nivex::scene
