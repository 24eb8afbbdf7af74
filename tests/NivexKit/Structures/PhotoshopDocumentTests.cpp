#include "NivexKit/Structures/PhotoshopDocument.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

/// A part of less than 256 bytes behind its length.
Bytes part(const Bytes& contents)
{
    return joined({bytes("000000"), repeated(static_cast<unsigned char>(contents.size()), 1), contents});
}

Bytes document(const Bytes& layers)
{
    return joined({textBytes("8BPS"), bytes("0001"), repeated(0, 20), part({}), part({}), part(layers)});
}

TEST(PhotoshopDocument, EndsWithItsFile)
{
    const Bytes file = document(bytes("00000002 0001"));
    const MemorySource whole{file};
    const auto parts = PhotoshopDocument::of(whole);
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->pixels(), file.size());
    EXPECT_FALSE(PhotoshopDocument::of(MemorySource{std::span{file}.first(file.size() - 1)}));
}

TEST(PhotoshopDocument, TellsWhatItsLayersAre)
{
    const Bytes deep = joined({bytes("00000000 00000002 0000"), textBytes("8BIMLr16"), bytes("00000002 0003")});
    const Bytes transparent = joined({bytes("00000000 00000000"), textBytes("8BIMMtrn"), bytes("00000000")});
    struct Case {
        const char* name;
        Bytes layers;
        std::optional<PhotoshopLayers> expected;
    };
    const Case cases[] = {
        {"none", {}, PhotoshopLayers{}},
        {"some", bytes("00000002 0001"), PhotoshopLayers{.areThere = true}},
        {"some with holes", bytes("00000002 FFFF"), PhotoshopLayers{.areThere = true, .leaveHoles = true}},
        {"in a block behind the mask", deep, PhotoshopLayers{.areThere = true}},
        {"a flat picture with holes", transparent, PhotoshopLayers{.leaveHoles = true}},
        {"records that go on behind their part", bytes("00000003 0001"), std::nullopt},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const Bytes file = document(each.layers);
        const MemorySource source{file};
        const auto parts = PhotoshopDocument::of(source);
        ASSERT_TRUE(parts);
        EXPECT_EQ(photoshopLayers(source, *parts), each.expected);
    }
}

TEST(PhotoshopResources, EndAtWhatIsCutOrNoResource)
{
    const Bytes first = joined({textBytes("8BIM"), bytes("0404 0141 00000003 1C0205 00")}); // name "A", padded contents
    struct Case {
        const char* name;
        Bytes blocks;
        std::size_t resources;
        bool reachedEnd;
    };
    const Case cases[] = {
        {"whole", joined({first, first}), 2, true},
        {"without the last byte of padding", {first.begin(), first.end() - 1}, 1, true},
        {"without the last byte of contents", {first.begin(), first.end() - 2}, 0, false},
        {"an empty one at the end", joined({first, textBytes("8BIM"), bytes("0405 0000 00000000")}), 2, true},
        {"something else behind", joined({first, textBytes("8BUM")}), 1, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const MemorySource source{each.blocks};
        PhotoshopResources resources{source, 0, each.blocks.size()};
        std::size_t count = 0;
        while (const auto next = resources.next()) {
            EXPECT_EQ(next->end - next->begin, next->identifier == 0x0404 ? 3U : 0U);
            ++count;
        }
        EXPECT_EQ(count, each.resources);
        EXPECT_EQ(resources.reachedEnd(), each.reachedEnd);
    }
}

} // namespace
} // namespace nivex
