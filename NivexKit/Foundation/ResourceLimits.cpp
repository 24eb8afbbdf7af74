#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <thread>

namespace nivex {

ResourceLimits ResourceLimits::forProcessors(unsigned activeProcessors)
{
    ResourceLimits limits;
    limits.maxConcurrentJobs = activeProcessors < 2   ? 1
                               : activeProcessors < 8 ? static_cast<int>(activeProcessors / 2)
                                                      : 4;
    return limits;
}

const ResourceLimits& ResourceLimits::standard()
{
    static const ResourceLimits limits = forProcessors(std::thread::hardware_concurrency());
    return limits;
}

} // namespace nivex
