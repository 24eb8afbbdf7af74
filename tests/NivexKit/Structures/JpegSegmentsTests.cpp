#include "NivexKit/Structures/JpegSegments.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::textBytes;

TEST(JpegSegments, EndBeforeTheScan)
{
    const auto file = bytes("FF D8 FF 01 FF FF E0 00 03 41 FF DB 00 02 FF DA 00 02 FF E1 00 02");
    const MemorySource source{file};
    JpegSegments segments{source};
    std::vector<std::uint64_t> found;
    while (const auto segment = segments.next())
        found.insert(found.end(), {segment->marker, segment->offset, segment->end()});
    EXPECT_EQ(found, (std::vector<std::uint64_t>{0xE0, 5, 10, 0xDB, 10, 14}));
    EXPECT_EQ(segments.position(), 14U);
}

TEST(JpegSegments, FindTheEndOfThePictureBehindItsScans)
{
    const auto scan = joined({bytes("FF DA 00 02"), textBytes(" data "), bytes("FF 00 FF D3"), textBytes("more")});
    const auto picture = joined({bytes("FF D8"), scan, bytes("FF C4 00 03 3F"), scan, bytes("FF FF D9")});
    const auto file = joined({picture, bytes("FF D8 FF DA 00 02 FF D9")});
    EXPECT_EQ(jpegPictureEnd(MemorySource{file}), picture.size());
    EXPECT_EQ(jpegPictureEnd(MemorySource{std::span{picture}.first(picture.size() - 1)}), std::nullopt);
    EXPECT_EQ(jpegPictureEnd(MemorySource{bytes("FF D8 FF D9")}), std::nullopt) << "no scan";
}

} // namespace
} // namespace nivex
