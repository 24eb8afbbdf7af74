#pragma once

namespace nivex::worker {

/// Makes the kernel refuse, for this process and for good, the system calls that no decoder needs: sockets, starting
/// programs and processes, reaching into other processes, changing permissions, mounts, modules, keys and the like.
/// A refused call fails with "operation not permitted", so a library that tries one in passing goes on.
/// False when the kernel does not filter calls (`errno` tells).
bool refuseCalls();

} // namespace nivex::worker
