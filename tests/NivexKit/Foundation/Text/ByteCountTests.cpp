#include "NivexKit/Foundation/Text/ByteCount.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace nivex {
namespace {

TEST(ByteCount, RoundsToWhatAPersonReads)
{
    struct Case {
        const char* fault;
        std::int64_t bytes;
        const char* shown;
    };
    const Case cases[] = {
        {"a decimal where there is no unit", 999, "999 o"},
        {"a needless ,0", 1'000, "1 ko"},
        {"1000 ko instead of the next unit", 999'950, "1 Mo"},
        {"rounded up too early", 999'949, "999,9 ko"},
        {"binary units", 4'294'967'296, "4,3 Go"},
        {"overflow", std::numeric_limits<std::int64_t>::max(), "9223372 To"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(shownByteCount(each.bytes), each.shown);
    }
}

} // namespace
} // namespace nivex
