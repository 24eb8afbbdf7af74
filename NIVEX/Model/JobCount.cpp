#include "NIVEX/Model/JobCount.hpp"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <thread>

namespace nivex {
namespace {

constexpr std::uint64_t bytesOfOneJob = std::uint64_t{1} << 30;

/// What a container may use; a file that is missing or says "max" sets no limit.
std::uint64_t memoryOfTheGroup()
{
    std::uint64_t bytes = 0;
    std::ifstream limit{"/sys/fs/cgroup/memory.max"};
    return limit >> bytes ? bytes : std::numeric_limits<std::uint64_t>::max();
}

std::uint64_t memoryOfThisMachine()
{
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageBytes = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageBytes <= 0)
        return 0;
    return std::min(static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes), memoryOfTheGroup());
}

} // namespace

int jobsFor(unsigned processors, std::uint64_t memoryBytes)
{
    const std::uint64_t inMemory = memoryBytes / bytesOfOneJob;
    return static_cast<int>(std::max<std::uint64_t>(1, std::min<std::uint64_t>(processors, inMemory)));
}

int jobsOfThisMachine() { return jobsFor(std::thread::hardware_concurrency(), memoryOfThisMachine()); }

} // namespace nivex
