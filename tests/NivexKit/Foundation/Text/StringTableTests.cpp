#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(StringTable, IsFrenchUntilToldOtherwise)
{
    static constexpr StringTable::Row rows[] = {{"a", "A"}, {"b", "B"}, {"c", "C"}};
    static constexpr StringTable::Translation translation{rows};
    EXPECT_EQ("b"_fr.localized(), "b");
    StringTable::use(&translation);
    for (const StringTable::Row& row : rows)
        EXPECT_EQ(Text{row.french}.localized(), row.translation);
    EXPECT_EQ("bb"_fr.localized(), "bb") << "a text without a row";
    EXPECT_EQ(filled(Text{"{} sans {}"}, {"a", "{}"}), "a sans {}") << "a value is not a pattern";
    StringTable::use(nullptr);
    EXPECT_EQ("b"_fr.localized(), "b");
}

} // namespace
} // namespace nivex
