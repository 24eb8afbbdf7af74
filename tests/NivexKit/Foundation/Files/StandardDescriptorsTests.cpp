#include "NivexKit/Foundation/Files/StandardDescriptors.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nivex {
namespace {

bool isNothing(int descriptor)
{
    struct stat nothing {};
    struct stat status {};
    return ::stat("/dev/null", &nothing) == 0 && ::fstat(descriptor, &status) == 0 && status.st_rdev == nothing.st_rdev;
}

/// Runs with these descriptors closed; the exit code has a bit for each that is open on nothing afterwards.
[[noreturn]] void openWithout(std::initializer_list<int> closed)
{
    for (const int each : closed)
        ::close(each);
    openStandardDescriptors();
    int code = 0;
    for (const int each : {0, 1, 2})
        code |= isNothing(each) ? 1 << each : 0;
    ::_exit(code);
}

TEST(StandardDescriptors, AreOpenedOnNothingWhereTheyAreClosedAndLeftAloneElsewhere)
{
    EXPECT_EXIT(openWithout({0, 1, 2}), ::testing::ExitedWithCode(7), "");
    EXPECT_EXIT((::close(0), ::open("/", O_RDONLY), openWithout({1})), ::testing::ExitedWithCode(2), "");
}

} // namespace
} // namespace nivex
