#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace nivex::image {
namespace {

using testing::HasSubstr;
using testing::Not;

struct Row {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;
};

/// An Exif block of one directory after another, each at a place of its own, with room behind them.
std::vector<std::byte> exifBlock(ByteOrder order, const std::vector<std::vector<Row>>& directories)
{
    constexpr std::size_t place = 100;
    ByteWriter writer{order};
    writer.text(order == ByteOrder::little ? "II" : "MM").u16(42).u32(place);
    for (const auto& rows : directories) {
        while (writer.size() % place != 0 || writer.size() == 0)
            writer.u8(0xAA);
        writer.u16(static_cast<std::uint16_t>(rows.size()));
        for (const Row& row : rows) {
            writer.u16(row.tag).u16(row.type).u32(row.count);
            if (row.type == 3)
                writer.u16(static_cast<std::uint16_t>(row.value)).u16(0);
            else
                writer.u32(row.value);
        }
        writer.u32(0);
    }
    while (writer.size() < 500)
        writer.u8(0xAA);
    return std::move(writer).release();
}

std::vector<std::uint16_t> tags(const ExifBlock::Directory& directory)
{
    std::vector<std::uint16_t> tags;
    for (const auto& entry : directory)
        tags.push_back(entry.tag);
    return tags;
}

TEST(ExifBlock, TakesThePositionAwayWithoutMovingAnythingElse)
{
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        const auto bytes = exifBlock(order, {{{0x010F, 2, 4, 0x43424100}, {0x8825, 4, 1, 200}, {0x9C9B, 7, 8, 400}},
                                             {{1, 2, 2, 0x4E000000}, {2, 5, 3, 300}}});
        auto exif = ExifBlock::parse(bytes);
        ASSERT_TRUE(exif);
        exif->removePosition();
        EXPECT_EQ(tags(exif->mainDirectory()), (std::vector<std::uint16_t>{0x010F, 0x9C9B}));
        EXPECT_EQ(exif->bytes().size(), bytes.size());
        const auto& left = exif->bytes();
        EXPECT_EQ(exif->value(exif->mainDirectory()[1]).data(), left.data() + 400) << "an offset was changed";
        EXPECT_TRUE(std::all_of(left.begin() + 200, left.begin() + 226, [](std::byte b) { return b == std::byte{}; }));
        EXPECT_TRUE(std::all_of(left.begin() + 300, left.begin() + 324, [](std::byte b) { return b == std::byte{}; }))
            << "the coordinates are still there";
    }
}

TEST(ExifBlock, TakesThePositionAwayFromWhateverLeadsToIt)
{
    auto bytes = exifBlock(ByteOrder::little, {{{0x010F, 2, 4, 0x43424100}, {0x8769, 4, 1, 200}},
                                               {{0x8825, 4, 1, 400}, {0xA002, 4, 1, 70}},
                                               {{0x0103, 3, 1, 6}, {0x8825, 4, 1, 400}},
                                               {{1, 2, 2, 0x4E}, {2, 5, 3, 60}}});
    bytes[100 + 2 + 2 * 12 + 1] = std::byte{1}; // the third directory, at 300, follows the first
    bytes[100 + 2 + 2 * 12] = std::byte{44};
    auto exif = ExifBlock::parse(bytes);
    ASSERT_TRUE(exif);
    exif->removePosition();
    EXPECT_EQ(tags(exif->mainDirectory()), (std::vector<std::uint16_t>{0x010F, 0x8769}));
    EXPECT_EQ(tags(exif->exifDirectory()), std::vector<std::uint16_t>{0xA002});
    EXPECT_EQ(exif->bytes()[300], std::byte{1}) << "entries left beside the thumbnail";
    EXPECT_EQ(exif->bytes()[400], std::byte{0}) << "the position itself is still there";
}

TEST(ExifBlock, ALinkOfZeroLeadsNowhere)
{
    auto bytes = exifBlock(ByteOrder::little, {{{0x010F, 2, 4, 0x43424100}}});
    bytes.resize(300'000, std::byte{0xAA}); // so large that its header could pass for a directory
    auto exif = ExifBlock::parse(bytes);
    ASSERT_TRUE(exif);
    exif->removeThumbnail();
    exif->removePosition();
    EXPECT_EQ(exif->bytes(), bytes);
}

TEST(ExifBlock, SaysUprightAndTheTrueSizeInEitherByteOrder)
{
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        auto exif = ExifBlock::parse(
            exifBlock(order, {{{0x0112, 3, 1, 6}, {0x8769, 4, 1, 200}}, {{0xA002, 3, 1, 70}, {0xA003, 4, 1, 80}}}));
        ASSERT_TRUE(exif);
        exif->setUpright(70'000, 90);
        ByteReader orientation{exif->value(exif->mainDirectory()[0]), order};
        EXPECT_EQ(orientation.u16(), 1);
        const auto sizes = exif->exifDirectory();
        EXPECT_EQ(ByteReader(exif->value(sizes[0]), order).u32(), 70'000) << "too large for the type it had";
        EXPECT_EQ(ByteReader(exif->value(sizes[1]), order).u32(), 90);
    }
}

TEST(ExifBlock, TakesATagAwayHoweverOftenItStands)
{
    constexpr std::uint16_t often = 60'000; // too often for a search of the whole directory each time
    ByteWriter writer{ByteOrder::little};
    writer.text("II").u16(42).u32(8).u16(often + 2);
    for (unsigned i = 0; i < often + 2; ++i)
        writer.u16(i == 0 ? 0x010F : i == 777 ? 0x9C9B : 0x83BB).u16(4).u32(1).u32(i);
    writer.u32(0x4E455854);
    auto exif = ExifBlock::parse(std::move(writer).release());
    ASSERT_TRUE(exif);
    exif->removeFromMain(0x83BB);
    const auto left = exif->mainDirectory();
    EXPECT_EQ(tags(left), (std::vector<std::uint16_t>{0x010F, 0x9C9B}));
    ByteReader behind{exif->bytes(), ByteOrder::little};
    behind.seek(left[1].position + 8);
    EXPECT_EQ(behind.u32(), 777U);
    EXPECT_EQ(behind.u32(), 0x4E455854U) << "the link to the next directory";
    EXPECT_EQ(behind.u32(), 0U);
}

TEST(ExifBlock, RefusesWhatIsNone)
{
    EXPECT_FALSE(ExifBlock::parse({}));
    EXPECT_FALSE(ExifBlock::parse(asBytes("II*")));
    EXPECT_FALSE(ExifBlock::parse(asBytes(std::string_view{"II*\0\xFF\xFF\xFF\xFF", 8}))) << "a directory outside";
    auto cut = exifBlock(ByteOrder::little, {{{0x010F, 2, 4, 0}, {0x0110, 2, 4, 0}}});
    cut.resize(110);
    EXPECT_FALSE(ExifBlock::parse(cut)) << "entries cut off";
    auto self = ExifBlock::parse(exifBlock(ByteOrder::little, {{{0x8825, 4, 1, 100}}}));
    ASSERT_TRUE(self);
    self->removePosition(); // a directory that leads to itself
}

std::string packet(std::string_view description)
{
    return R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#" )"
           R"(xmlns:exif="http://ns.adobe.com/exif/1.0/" xmlns:tiff="http://ns.adobe.com/tiff/1.0/" )"
           R"(xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:drone="http://example.org/drone/" )"
           R"(xmlns:ext="http://iptc.org/std/Iptc4xmpExt/2008-02-29/">)" +
           std::string{description} + "</rdf:RDF></x:xmpmeta>";
}

TEST(XmpPacket, TakesPositionsAwayWhereverTheyAre)
{
    struct Case {
        const char* name;
        std::string description;
    };
    const Case cases[] = {
        {"an attribute", R"(<rdf:Description exif:GPSLatitude="48,1N" dc:format="image/x"/>)"},
        {"an element",
         R"(<rdf:Description dc:format="image/x"><exif:GPSLatitude>48,1N</exif:GPSLatitude></rdf:Description>)"},
        {"a drone's own word", R"(<rdf:Description drone:GpsLongtitude="+2.48,1" dc:format="image/x"/>)"},
        {"a place in a list",
         R"(<rdf:Description dc:format="image/x"><ext:LocationShown><rdf:Bag><rdf:li exif:GPSLatitude="48,1N" )"
         R"(ext:City="Paris"/></rdf:Bag></ext:LocationShown></rdf:Description>)"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        auto found = XmpPacket::parse(packet(each.description));
        ASSERT_TRUE(found);
        found->removePosition();
        EXPECT_THAT(found->text(), Not(HasSubstr("48,1")));
        EXPECT_THAT(found->text(), HasSubstr("image/x"));
    }
}

TEST(XmpPacket, StaysWordForWordWhereNothingChanges)
{
    const std::string text = "<?xpacket begin='' id='x'?>" +
                             packet("<!-- a remark -->  <rdf:Description rdf:about='' tiff:Orientation='1'/>") +
                             "<?xpacket end='w'?>";
    auto found = XmpPacket::parse(text + std::string(3, '\0'));
    ASSERT_TRUE(found);
    found->setUpright(10, 20);
    found->removePosition();
    EXPECT_EQ(found->text(), text);
}

TEST(XmpPacket, RefusesWhatIsNone)
{
    for (const std::string& text :
         {std::string{}, std::string{"<x"}, std::string{"<a/>"}, "<!DOCTYPE x [<!ENTITY e 'e'>]>" + packet("")})
        EXPECT_FALSE(XmpPacket::parse(text)) << text;
}

TEST(XmpPacket, UnitesListsAndKeepsItsOwnWords)
{
    auto first =
        XmpPacket::parse(packet("<rdf:Description dc:format='mine'><dc:subject><rdf:Bag><rdf:li>a</rdf:li></rdf:Bag>"
                                "</dc:subject></rdf:Description>"));
    const auto second = XmpPacket::parse(packet(
        "<rdf:Description dc:format='other' dc:source='new'><dc:subject><rdf:Bag><rdf:li>a</rdf:li><rdf:li>b</rdf:li>"
        "</rdf:Bag></dc:subject></rdf:Description>"));
    ASSERT_TRUE(first && second);
    first->addMissing(*second);
    EXPECT_THAT(first->text(), HasSubstr("<rdf:Bag><rdf:li>a</rdf:li><rdf:li "));
    EXPECT_THAT(first->text(), HasSubstr(">b</rdf:li></rdf:Bag>"));
    EXPECT_THAT(first->text(), HasSubstr("mine"));
    EXPECT_THAT(first->text(), HasSubstr("dc:source=\"new\""));
    EXPECT_THAT(first->text(), Not(HasSubstr("other")));
}

TEST(XmpPacket, IsSplitWithAllThatItSays)
{
    std::string description = "<rdf:Description";
    for (int i = 0; i < 3000; ++i)
        description += " drone:p" + std::to_string(i) + "='" + std::string(20, 'x') + std::to_string(i) + "'";
    const auto whole = XmpPacket::parse(packet(description + "/>"));
    ASSERT_TRUE(whole);
    const auto halves = whole->split(65'000);
    ASSERT_TRUE(halves);
    EXPECT_LE(halves->main.size(), 65'000U);
    for (int i = 0; i < 3000; i += 100) {
        const std::string value = "\"" + std::string(20, 'x') + std::to_string(i) + "\"";
        EXPECT_NE(halves->main.find(value) == std::string::npos, halves->extension.find(value) == std::string::npos)
            << i;
    }
}

} // namespace
} // namespace nivex::image
