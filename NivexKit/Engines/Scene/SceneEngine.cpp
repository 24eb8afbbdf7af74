#include "NivexKit/Engines/Scene/SceneEngine.hpp"

namespace nivex {

SceneEngine::SceneEngine(const FormatRegistry&) : DeclaredEngine{"native-3d", "3D (FBX, glTF, USD, OBJ, STL, PLY)"_fr}
{
}

} // namespace nivex
