#pragma once

#include <cstdint>

namespace nivex {

/// How many conversions a call runs at once unless it is told: one per processor, and no more than memory holds, since
/// a decoder of large pictures takes about a gibibyte. At least 1.
int jobsFor(unsigned processors, std::uint64_t memoryBytes);

/// The same for this machine and the limits set for this process.
int jobsOfThisMachine();

} // namespace nivex
