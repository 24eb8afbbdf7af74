#pragma once

namespace nivex::worker {

/// Makes the kernel refuse, for this process and for good, the system calls that no decoder needs: sockets, starting
/// programs and processes, reaching into other processes, changing attributes and permissions, memory that no limit
/// counts, mounts, modules, keys and the like. A refused call fails with an error that a library knows, so one that
/// tries it in passing goes on. Of `open`, `fcntl` and `ioctl` only what is listed is left.
///
/// landlockVersion  in force: what an old version leaves open is refused here
/// returns          false when the kernel does not filter calls (`errno` tells)
bool refuseCalls(int landlockVersion);

} // namespace nivex::worker
