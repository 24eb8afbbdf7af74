#include "NivexKit/Foundation/StringTable.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

/// Shows texts in a language until the end of the scope.
struct Shown {
    explicit Shown(Language language) { StringTable::use(language); }
    ~Shown() { StringTable::use(Language::french); }
};

TEST(StringTable, IsFrenchUntilToldOtherwise)
{
    EXPECT_EQ("Conversion annulée."_fr.localized(), "Conversion annulée.");
    {
        const Shown english{Language::english};
        EXPECT_EQ("Conversion annulée."_fr.localized(), "Conversion cancelled.");
        const Text unlisted{"un texte sans traduction"};
        EXPECT_EQ(unlisted.localized(), "un texte sans traduction");
        EXPECT_EQ(filled(Text{"{} sans {}"}, {"a", "{}"}), "a sans {}") << "a value is not a pattern";
    }
    EXPECT_EQ("Conversion annulée."_fr.localized(), "Conversion annulée.");
}

TEST(StringTable, FindsEveryRow)
{
    const Shown english{Language::english};
    for (const StringTable::Row& row : StringTable::english())
        EXPECT_EQ(Text{row.french}.localized(), row.english);
}

TEST(StringTable, ReadsALanguageFromACodeOrALocale)
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
