#include "NivexKit/Structures/TiffStructure.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using testing::bytes;
using Numbers = std::vector<std::uint64_t>;

/// A directory of three strips at 1, 2 and 3, a field of an unknown type and an orientation.
const auto file = bytes("4D4D 002A 00000008 0003"
                        "0111 0003 00000003 00000032"
                        "9999 0063 00000001 00000000"
                        "0112 0003 00000001 00060000"
                        "00000000 0001 0002 0003");

TEST(TiffStructure, TellsWhereFieldsAndValuesStand)
{
    const MemorySource source{file};
    const auto tiff = TiffStructure::at(source, 0);
    ASSERT_TRUE(tiff);
    const auto directory = tiff->directory(tiff->firstDirectory());
    ASSERT_TRUE(directory && directory->isWhole);
    ASSERT_EQ(directory->fields.size(), 3U) << "of an unknown type, and yet a field";
    const TiffField& strips = directory->fields[0];
    const TiffField& orientation = directory->fields[2];
    EXPECT_EQ(strips.entry, 10U);
    EXPECT_FALSE(strips.isInline);
    EXPECT_EQ(strips.position, 50U);
    EXPECT_EQ(tiff->numbers(strips, 3), (Numbers{1, 2, 3}));
    EXPECT_EQ(tiff->numbers(strips, 2), std::nullopt) << "more than asked for";
    EXPECT_TRUE(orientation.isInline);
    EXPECT_EQ(tiff->numbers(orientation, 1), Numbers{6});
    EXPECT_EQ(tiff->numbers(directory->fields[1], 9), std::nullopt);
}

TEST(TiffStructure, SaysWhereTheFileEndsWithinADirectory)
{
    struct Case {
        std::size_t length;
        std::size_t fields;
        bool isWhole;
    };
    for (const Case& each : {Case{file.size() - 1, 3, true}, Case{46, 3, true}, Case{45, 2, false}}) {
        SCOPED_TRACE(each.length);
        const MemorySource source{std::span{file}.first(each.length)};
        const auto tiff = TiffStructure::at(source, 0);
        const auto directory = tiff->directory(8);
        ASSERT_TRUE(directory);
        EXPECT_EQ(directory->fields.size(), each.fields);
        EXPECT_EQ(directory->isWhole, each.isWhole);
        EXPECT_EQ(tiff->numbers(directory->fields[0], 3), std::nullopt) << "values that are not there";
    }
}

} // namespace
} // namespace nivex
