#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(Unicode, IllFormedBytesAreReplacedOneByOneAndTheRestIsKept)
{
    struct Case {
        const char* fault;
        std::string bytes;
        std::string shown;
    };
    const Case cases[] = {
        {"well-formed text is left as it is", "é🎬\n", "é🎬\n"},
        {"bytes no text may hold",
         "a\xFF\xFE"
         "b",
         "a\uFFFD\uFFFD"
         "b"},
        {"a sequence cut by the end", "film\xE2\x82", "film\uFFFD\uFFFD"},
        {"a sequence cut by a letter",
         "\xC3"
         "t\xC3\xA9",
         "\uFFFD"
         "té"},
        {"a surrogate half", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"an over-long slash", "\xC0\xAF", "\uFFFD\uFFFD"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(validUtf8(each.bytes), each.shown);
        EXPECT_TRUE(isValidUtf8(validUtf8(each.bytes)));
    }
}

TEST(Unicode, ContainsIgnoringCase)
{
    struct Case {
        const char* fault;
        const char* text;
        const char* part;
        const char* locale;
        bool expected;
    };
    const Case cases[] = {
        {"capitals with accents", "été à la mer.jpg", "ÉTÉ À", "", true},
        {"decomposed as some file systems store names", "e\u0301te\u0301.jpg", "Été", "", true},
        {"an accent is part of its letter", "été.jpg", "ete", "", false},
        {"a decomposed accent too", "e\u0301te\u0301.jpg", "ete", "", false},
        {"a letter that folds to two", "STRASSE.png", "straße", "", true},
        {"nothing is in everything", "a", "", "", true},
        {"more than there is", "a", "ab", "", false},
        {"the i of most languages", "TITRE.png", "titre", "fr_FR.UTF-8", true},
        {"the dotless capital of Turkish", "TITRE.png", "titre", "tr_TR.UTF-8", false},
        {"the dotted capital of Turkish", "TİTRE.png", "titre", "tr_TR.UTF-8", true},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(containsIgnoringCase(each.text, each.part, each.locale), each.expected);
    }
}

} // namespace
} // namespace nivex
