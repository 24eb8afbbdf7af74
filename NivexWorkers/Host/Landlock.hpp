#pragma once

#include "NivexKit/Workers/SandboxPosture.hpp"

#include <filesystem>
#include <vector>

namespace nivex::worker {

/// Restricts this process with Landlock: it reads the system's libraries, fonts and codecs' data and `readable`, writes
/// in the folder `writable`, and reaches neither the network nor other programs where the kernel's version can refuse
/// that. Either path may be empty.
///
/// version  to speak: `landlockVersion()`, or an older one to be as restricted as an older kernel can
/// returns  the state of the layers `files`, `network` and `signals`
std::vector<SandboxLayerState> restrictFiles(int version, const std::filesystem::path& readable,
                                             const std::filesystem::path& writable);

} // namespace nivex::worker
