#include "NivexKit/Engines/Document/DocumentEngine.hpp"

namespace nivex {

DocumentEngine::DocumentEngine(const FormatRegistry&)
    : DeclaredEngine{"native-document", "Documents macOS (système de texte Cocoa)"_fr}
{
}

} // namespace nivex
