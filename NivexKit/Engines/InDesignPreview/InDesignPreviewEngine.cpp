#include "NivexKit/Engines/InDesignPreview/InDesignPreviewEngine.hpp"

namespace nivex {

InDesignPreviewEngine::InDesignPreviewEngine(const FormatRegistry&)
    : DeclaredEngine{"native-indesign-preview", "Aperçus enregistrés par InDesign"_fr}
{
}

} // namespace nivex
