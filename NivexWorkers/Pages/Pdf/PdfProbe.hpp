#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex::pages {

/// Measures a PDF file: its pages, whether the first of them have a text layer, whether it is encrypted and whether it
/// has layers. Of one that needs a password it tells just that. Throws what PdfDocument throws.
SourceProperties probePdf(const EngineRequest& request);

} // namespace nivex::pages
