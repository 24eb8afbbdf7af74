#include "NivexKit/Formats/FormatCatalog.hpp"
#include "NivexKit/Formats/UniformType.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>
#include <string>

namespace nivex {
namespace {

TEST(FormatCatalog, HoldsEveryFamilyWhole)
{
    const std::map<FormatFamily, std::size_t> expected = {
        {FormatFamily::image, 26},       {FormatFamily::graphics, 15},    {FormatFamily::document, 10},
        {FormatFamily::spreadsheet, 14}, {FormatFamily::presentation, 5}, {FormatFamily::audio, 13},
        {FormatFamily::video, 13},       {FormatFamily::threeD, 18},      {FormatFamily::archive, 11},
        {FormatFamily::font, 6},         {FormatFamily::publication, 8},  {FormatFamily::subtitle, 6},
        {FormatFamily::geo, 9},          {FormatFamily::scientific, 8},   {FormatFamily::communication, 6},
        {FormatFamily::code, 16},        {FormatFamily::system, 11},      {FormatFamily::project, 8},
    };
    std::map<FormatFamily, std::size_t> counts;
    for (const FileFormat& format : FormatCatalog::all())
        ++counts[format.family];

    EXPECT_EQ(counts, expected);
    EXPECT_EQ(FormatCatalog::all().size(), 203U);
}

TEST(FormatCatalog, NamesEveryFormatOnceAndUsably)
{
    std::set<std::string> ids;
    std::set<std::string> types;
    FormatFamily last = FormatFamily::image;
    for (const FileFormat& format : FormatCatalog::all()) {
        SCOPED_TRACE(format.id.rawValue);
        EXPECT_TRUE(ids.insert(format.id.rawValue).second);
        EXPECT_FALSE(format.name.empty() || format.longName.empty());
        EXPECT_GE(format.family, last); // a list that stands in another's place changes look-ups
        last = format.family;
        ASSERT_FALSE(format.extensions.empty());
        for (const std::string& extension : format.extensions)
            for (const char each : extension) // look-ups lower-case what they are given, nothing else
                EXPECT_TRUE(std::islower(static_cast<unsigned char>(each)) ||
                            std::isdigit(static_cast<unsigned char>(each)));
        for (const std::string& type : format.typeIdentifiers) {
            EXPECT_TRUE(types.insert(type).second) << type;
            EXPECT_TRUE(UniformType::isKnown(type)) << type;
            EXPECT_TRUE(UniformType::conforms(type, "public.item") || UniformType::conforms(type, "public.message"))
                << type;
        }
    }
}

TEST(FormatCatalog, RowsBecomeRecords)
{
    const FormatRow plain{.id = "xyz", .name = "XYZ"};
    const FormatRow full{.id = "abc",
                         .name = "ABC",
                         .longName = {"Un format"},
                         .extensions = "abc ab",
                         .typeIdentifiers = "a.b",
                         .traits = FormatTrait::lossy | FormatTrait::text,
                         .alsoIn = FormatFamily::code};

    EXPECT_EQ(plain.format(FormatFamily::geo),
              (FileFormat{"xyz", "XYZ", "XYZ", FormatFamily::geo, {}, {"xyz"}, {}, {}}));
    EXPECT_EQ(full.format(FormatFamily::font), (FileFormat{"abc",
                                                           "ABC",
                                                           "Un format",
                                                           FormatFamily::font,
                                                           {FormatFamily::code},
                                                           {"abc", "ab"},
                                                           {"a.b"},
                                                           FormatTrait::lossy | FormatTrait::text}));
}

TEST(FormatFamily, ReadsBackWhatItStores)
{
    for (const FormatFamily family : allFamilies())
        EXPECT_EQ(familyStoredAs(storedName(family)), family);
    EXPECT_EQ(allFamilies().size(), 18U);
    EXPECT_EQ(familyStoredAs("Image"), std::nullopt);
    EXPECT_EQ(displayName(FormatFamily::threeD), "3D et CAO");
    EXPECT_EQ(symbolName(FormatFamily::project), "folder.badge.gearshape");
}

} // namespace
} // namespace nivex
