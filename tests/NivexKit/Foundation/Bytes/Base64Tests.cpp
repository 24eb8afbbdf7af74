#include "NivexKit/Foundation/Bytes/Base64.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(Base64, ComesBackAsItWent)
{
    for (const std::string_view bytes : {"", "a", "ab", "abc", "abcd", "\xFF\xFE\x00"})
        EXPECT_EQ(fromBase64(base64(bytes)), bytes);
    EXPECT_EQ(fromBase64("YWJj\r\nZA"), "abcd") << "lines, and no padding";
    for (const std::string_view wrong : {"YWJj*", "YWJjZ", "YW=Jj", "YW-_"})
        EXPECT_EQ(fromBase64(wrong), std::nullopt) << wrong;
}

} // namespace
} // namespace nivex
