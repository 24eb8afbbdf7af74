#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"

#include <filesystem>

namespace nivex::image {

/// How the target's encoder is asked to write `file` where a person asks for a quality. What the target keeps as it was
/// stored without loss (WrittenPictures::keepsExact) is asked for as it is, unless less than usual is asked for.
/// `file` and `progress` outlive it.
WriteRequest writingOf(const EngineRequest& request, const std::filesystem::path& file, double quality,
                       const ProgressCallback& progress);

} // namespace nivex::image
