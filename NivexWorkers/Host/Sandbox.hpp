#pragma once

#include "NivexWorkers/Host/Landlock.hpp"

#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <sys/types.h>

#include <vector>

namespace nivex::worker {

struct SandboxPolicy {
    OpenedPlaces places;
    WorkerLimits limits;
    int landlockVersion = nivex::landlockVersion();
};

/// Ties this process to the life of its parent; ends it at once when the parent has ended already. The first thing a
/// child does.
SandboxLayerState endWith(pid_t parent);

/// Takes on all other layers, for good. Call it on the only thread, before foreign bytes are touched.
/// Returns what the kernel granted; it never throws.
std::vector<SandboxLayerState> enterSandbox(const SandboxPolicy& policy);

} // namespace nivex::worker
