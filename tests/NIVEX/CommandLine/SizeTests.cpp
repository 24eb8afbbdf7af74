#include "NIVEX/CommandLine/Size.hpp"

#include <gtest/gtest.h>

namespace nivex::commandline {
namespace {

TEST(Size, IsBytesOrADecimalMultiple)
{
    struct Case {
        std::string_view text;
        std::optional<std::int64_t> bytes;
    };
    const Case cases[] = {
        {"12345", 12'345},      {"2MB", 2'000'000},    {"1.5kb", 1'500},       {"1GB", 1'000'000'000},
        {"", std::nullopt},     {"MB", std::nullopt},  {"-1", std::nullopt},   {"2MiB", std::nullopt},
        {"nan", std::nullopt},  {"inf", std::nullopt}, {"1,5Mo", 1'500'000},   {"50ko", 50'000},
        {"2 MB", std::nullopt}, {"1e3", std::nullopt}, {"0x10", std::nullopt}, {"99999999999GB", std::nullopt},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.text);
        EXPECT_EQ(parseSize(each.text), each.bytes);
    }
}

} // namespace
} // namespace nivex::commandline
