#include "NivexWorkers/Image/Removal/Overwriting.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/Bytes.hpp"

namespace nivex::image {
namespace {

using testing::characters;
using testing::textBytes;

TEST(OverwritingTest, neverErasesWhatIsKept)
{
    const auto old = textBytes("0123456789");
    Overwriting changes;
    changes.erase(1, 100); // beyond the end
    changes.keep(3, 2);
    changes.put(6, "ab");
    EXPECT_EQ(characters(changes.pieces(old.size()).bytes(MemorySource{old})), std::string_view("0\0\0"
                                                                                                "34"
                                                                                                "\0"
                                                                                                "ab"
                                                                                                "\0\0",
                                                                                                10));
}

TEST(OverwritingTest, refusesTwoThingsInOnePlaceAndOneOutside)
{
    Overwriting clash;
    clash.put(2, "ab");
    clash.put(3, "c");
    EXPECT_THROW(clash.pieces(10), ConversionError);
    Overwriting outside;
    outside.put(9, "ab");
    EXPECT_THROW(outside.pieces(10), ConversionError);
}

TEST(RemovalTest, isOfferedForJustTheFormatsThatTheWorkKnows)
{
    for (const PictureFormat& each : pictureFormats())
        EXPECT_EQ(canRemoveMetadata(each.id), each.read && each.read->losesMetadataAlone) << each.id;
}

} // namespace
} // namespace nivex::image
