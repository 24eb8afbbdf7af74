#include "NivexWorkers/Pages/Pdf/PdfText.hpp"

#include <gtest/gtest.h>

namespace nivex::pages {
namespace {

TEST(PdfText, knowsGlyphsWithoutMeaning)
{
    EXPECT_TRUE(isMeaningful("Été 2024"));
    EXPECT_TRUE(isMeaningful("日本"));
    EXPECT_TRUE(isMeaningful("a\uE000b")) << "a symbol of a font among words";
    EXPECT_FALSE(isMeaningful("\uE001\uE002 \uE003")) << "private numbers";
    EXPECT_FALSE(isMeaningful("\x01\x02 \x03\x04 ab")) << "glyph numbers taken for characters";
    EXPECT_FALSE(isMeaningful("\uFFFD\uFFFDa"));
    EXPECT_FALSE(isMeaningful(" \n\t")) << "nothing at all";
}

TEST(PdfText, putsFormFeedsBetweenPages)
{
    EXPECT_EQ(joinedPages({"one\n"}), "one\n");
    EXPECT_EQ(joinedPages({"one\n", "", "three\n"}), "one\n\f\fthree\n") << "an empty page stays one";
}

} // namespace
} // namespace nivex::pages
