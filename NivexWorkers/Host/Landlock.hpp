#pragma once

#include "NivexKit/Workers/SandboxPosture.hpp"

#include <filesystem>
#include <vector>

namespace nivex::worker {

/// What of a person's files a child may use.
struct OpenedPlaces {
    std::vector<std::filesystem::path> inputs;     // files or folders to read
    std::vector<std::filesystem::path> companions; // files to read, as paths from the folder of the first input
    std::filesystem::path writable;                // the one folder to write in; empty for none
};

/// Restricts this process with Landlock: it reads the system's libraries, fonts and codecs' data and what is opened to
/// it, writes in its folder, and reaches neither the network nor other programs where the kernel's version can refuse
/// that. A companion that is reached through a link stays closed.
///
/// version  to speak: `landlockVersion()`, or an older one to be as restricted as an older kernel can
/// returns  the state of the layers `files`, `network` and `signals`
std::vector<SandboxLayerState> restrictFiles(int version, const OpenedPlaces& places);

} // namespace nivex::worker
