#include "NivexKit/Engines/Illustrator/IllustratorEngine.hpp"

namespace nivex {

IllustratorEngine::IllustratorEngine(const FormatRegistry&)
    : DeclaredEngine{"native-illustrator", "Illustrator (contenu PDF intégré)"_fr}
{
}

} // namespace nivex
