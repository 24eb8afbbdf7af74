#include "NivexKit/Engines/Vector/VectorEngine.hpp"

namespace nivex {

VectorEngine::VectorEngine(const FormatRegistry&) : DeclaredEngine{"native-vector", "Dessins vectoriels macOS (SVG)"_fr}
{
}

} // namespace nivex
