#pragma once

#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex::scene {

/// Measures whether a glTF file has materials, and skeletons, animations or moving shapes, by its JSON alone. Throws
/// ConversionError.
SourceProperties surveyGltf(const SceneInput& input);

} // namespace nivex::scene
