#pragma once

#include <chrono>
#include <cstdint>

namespace nivex {

/// The safety limits that detection, the runner, the archive reader and the engines obey.
struct ResourceLimits {
    std::int64_t maxInputBytes = 4'294'967'296; // 4 GiB
    std::int64_t maxImagePixels = 400'000'000;
    int maxPDFPages = 2'000;
    int maxRenderedPageDimension = 20'000; // pixels
    std::chrono::seconds stepTimeout{300};
    int maxConcurrentJobs = 1;
    std::chrono::seconds mediaStepTimeout{14'400};
    std::int64_t maxUnzippedEntryBytes = 536'870'912; // 512 MiB
    std::int64_t maxSceneVertices = 20'000'000;

    bool operator==(const ResourceLimits&) const = default;

    /// The limits for a machine with so many active processors: 1 job below 2 processors, half of them below 8, else 4.
    static ResourceLimits forProcessors(unsigned activeProcessors);

    /// The limits of this machine, built once.
    static const ResourceLimits& standard();
};

} // namespace nivex
