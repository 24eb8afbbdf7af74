#pragma once

#include <cstdint>

namespace nivex::worker {

/// Lets a child that stumbles say that memory was the reason: many libraries abort, or report a damaged file, when an
/// allocation fails. Before the sandbox it opens what tells the peak of the address space.
///
/// limitBytes  of address space; from three quarters of it on a failure counts as one of memory
void watchMemory(std::int64_t limitBytes);

/// True when the peak came near the limit. Safe in a signal handler.
bool memoryWasShort() noexcept;

} // namespace nivex::worker
