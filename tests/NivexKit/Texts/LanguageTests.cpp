#include "NivexKit/Texts/EnglishTexts.hpp"
#include "NivexKit/Texts/Language.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(Language, ShowsEveryTextInIt)
{
    showTextsIn(Language::english);
    EXPECT_EQ("Conversion annulée."_fr.localized(), "Conversion cancelled.");
    for (const StringTable::Row& row : englishTexts())
        EXPECT_EQ(Text{row.french}.localized(), row.translation);
    showTextsIn(Language::french);
    EXPECT_EQ("Conversion annulée."_fr.localized(), "Conversion annulée.");
}

TEST(Language, IsReadFromACodeOrALocale)
{
    EXPECT_EQ(languageStoredAs("en"), Language::english);
    EXPECT_EQ(languageStoredAs("en_GB.UTF-8"), Language::english);
    EXPECT_EQ(languageStoredAs("fr-CA"), Language::french);
    EXPECT_EQ(languageStoredAs(""), std::nullopt);
    EXPECT_EQ(languageStoredAs("eng"), std::nullopt);
    EXPECT_EQ(languageStoredAs("de"), std::nullopt);
}

} // namespace
} // namespace nivex
