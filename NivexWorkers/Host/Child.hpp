#pragma once

#include "NivexWorkers/Host/ForkServer.hpp"

#include <sys/types.h>

namespace nivex::worker {

/// The whole life of a child: reads its request from the channel, takes on the sandbox, works, reports, exits.
[[noreturn]] void runChild(int channel, pid_t server, const Handlers& handlers);

} // namespace nivex::worker
