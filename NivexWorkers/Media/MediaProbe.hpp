#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

namespace nivex::media {

/// Duration, tracks, channels and depth of a file. Throws what opening it throws.
SourceProperties probeMedia(const EngineRequest& request);

} // namespace nivex::media
