#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

namespace nivex::media {

/// Converts a file of sound or film. Streams that fit the target are taken over as they are; the others are encoded
/// anew. A source that ends before it says it does is unreadable: no result is shorter than its source, but for GIF
/// pictures, which are those of the first seconds. Under a limit of bytes the result is encoded at the rate that meets
/// it, with fewer pixels where they would look better, or refused.
std::vector<std::filesystem::path> convertMedia(const EngineRequest& request, const ProgressCallback& progress);

} // namespace nivex::media
