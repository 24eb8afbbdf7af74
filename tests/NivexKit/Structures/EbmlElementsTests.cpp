#include "NivexKit/Structures/EbmlElements.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using namespace std::literals;

bool isCut(std::string_view bytes) { return isCutMatroska(MemorySource{std::as_bytes(std::span{bytes})}); }

TEST(EbmlElements, TellWhetherASegmentIsThereToItsEnd)
{
    const std::string head = "\x1A\x45\xDF\xA3\x84head"s;
    const std::string segment = "\x18\x53\x80\x67"s;
    EXPECT_FALSE(isCut(head + segment +
                       "\x83"
                       "abc"));
    EXPECT_FALSE(isCut(head + segment +
                       "\x83"
                       "abc and more behind it"));
    EXPECT_TRUE(isCut(head + segment +
                      "\x83"
                      "ab"));
    EXPECT_TRUE(isCut(head + segment +
                      "\x40\x03"
                      "ab"))
        << "the same size in two bytes";
    EXPECT_TRUE(isCut(head + segment +
                      "\x01\x7F\xFF\xFF\xFF\xFF\xFF\xFF"
                      "ab"))
        << "the greatest size";
    EXPECT_FALSE(isCut(head + segment +
                       "\xFF"
                       "ab"))
        << "a size unknown";
    EXPECT_FALSE(isCut(head + segment +
                       "\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                       "ab"))
        << "a size unknown, in eight bytes";
    EXPECT_FALSE(isCut(head + "\xEC\x82void"s + segment +
                       "\x82"
                       "ab"))
        << "nothing follows where an element lies";
    for (const std::string_view broken : {""sv, "\x1A\x45"sv, "\0\0\0\0\0\0\0\0\0"sv, "\x1A\x45\xDF\xA3\x90head"sv})
        EXPECT_FALSE(isCut(broken));
}

} // namespace
} // namespace nivex
