#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"
#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

namespace nivex::scene {

/// Writes the faces of a scene as a binary STL file, each mesh where it is shown. Throws ConversionError::unsupported
/// for a scene without faces.
void writeStl(const Scene& scene, SceneOutput& output);

} // namespace nivex::scene
