#include "NIVEX/CommandLine/Suggestion.hpp"

#include <gtest/gtest.h>

namespace nivex::commandline {
namespace {

TEST(Suggestion, NamesTheNearestWordOrNone)
{
    const std::vector<std::string> names{"identify", "plans", "convert", "vtt"};

    EXPECT_EQ(nearestName("idntify", names), "identify");
    EXPECT_EQ(nearestName("converrt", names), "convert");
    EXPECT_EQ(nearestName("vvt", names), "vtt");
    EXPECT_EQ(nearestName("palns", names), "plans") << "a swap of neighbours is one mistake";
    EXPECT_EQ(nearestName("history", names), std::nullopt);
    EXPECT_EQ(nearestName("con", names), "convert") << "a beginning";
    EXPECT_EQ(nearestName("co", names), std::nullopt) << "of which too many words may begin so";
    EXPECT_EQ(nearestName(".", {"c", "z"}), std::nullopt) << "one character is near to every other";
    EXPECT_EQ(nearestName("", names), std::nullopt);
}

} // namespace
} // namespace nivex::commandline
