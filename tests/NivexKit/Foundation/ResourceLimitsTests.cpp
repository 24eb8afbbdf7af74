#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(ResourceLimits, LeavesAMachineHalfOfItsProcessorsUpToFourJobs)
{
    struct Case {
        unsigned processors;
        int jobs;
    };
    // 0 is what the system says when it does not know.
    const Case cases[] = {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 2}, {7, 3}, {8, 4}, {9, 4}, {64, 4}};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.processors);
        ResourceLimits expected;
        expected.maxConcurrentJobs = each.jobs;
        EXPECT_EQ(ResourceLimits::forProcessors(each.processors), expected) << "only the number of jobs depends on it";
    }
}

} // namespace
} // namespace nivex
