#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <vector>

namespace nivex {

/// The formats whose pictures the decoders measure.
std::vector<FormatID> measuredPictures(const FormatRegistry& registry);

/// Enters what the decoders found in a picture into what its header told, which of some things knows more.
void enterPicture(const SourceProperties& found, SourceProperties& known);

} // namespace nivex
