#include "NivexKit/Structures/IsoBoxes.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace nivex {
namespace {

using testing::bytes;
using Boxes = std::vector<IsoBox>;

struct Walked {
    Boxes boxes;
    std::optional<IsoBox> cut;
    bool reachedEnd = false;

    bool operator==(const Walked&) const = default;
};

void PrintTo(const Walked& walked, std::ostream* out)
{
    *out << walked.boxes.size() << " boxes, cut " << walked.cut.has_value() << ", end " << walked.reachedEnd;
}

Walked walk(const std::vector<std::byte>& file)
{
    const MemorySource source{file};
    IsoBoxes walk{source};
    Walked walked;
    while (const auto box = walk.next())
        walked.boxes.push_back(*box);
    walked.cut = walk.cutBox();
    walked.reachedEnd = walk.reachedEnd();
    return walked;
}

TEST(IsoBoxes, EndAtWhatIsCutOrNoBox)
{
    const auto free = boxType("free");
    const IsoBox first{free, 0, 8, 9};
    const struct {
        const char* name;
        std::vector<std::byte> file;
        Walked expected;
    } cases[] = {
        {"two boxes", bytes("00000009 66726565 00 00000008 66726565"), {{first, {free, 9, 17, 17}}, {}, true}},
        {"fewer bytes than a header", bytes("00000009 66726565 00 00000008 667265"), {{first}, {}, true}},
        {"a box one byte too long",
         bytes("00000009 66726565 00 0000000A 66726565 00"),
         {{first}, IsoBox{free, 9, 17, 19}, false}},
        {"a size below its header", bytes("00000009 66726565 00 00000007 66726565"), {{first}, {}, false}},
        {"zero: up to the end",
         bytes("00000009 66726565 00 00000000 66726565 00"),
         {{first, {free, 9, 17, 18}}, {}, true}},
        {"64 bits", bytes("00000001 66726565 0000000000000011 00"), {{{free, 0, 16, 17}}, {}, true}},
        {"64 bits below their header", bytes("00000001 66726565 000000000000000F 00"), {{}, {}, false}},
        {"64 bits that are not there", bytes("00000001 66726565 00000000000000"), {{}, {}, false}},
        {"64 bits that would wrap around",
         bytes("00000009 66726565 00 00000001 66726565 FFFFFFFFFFFFFFFF"),
         {{first}, IsoBox{free, 9, 25, std::numeric_limits<std::uint64_t>::max()}, false}},
        {"too long, its type with a space",
         bytes("00000010 786D6C20 00"),
         {{}, IsoBox{boxType("xml "), 0, 8, 16}, false}},
        {"too long and unspelled: no box", bytes("00000009 66726565 00 10000000 00726565 00"), {{first}, {}, false}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(walk(each.file), each.expected);
    }
}

TEST(IsoBoxes, FindBoxesInsideBoxesOnly)
{
    const auto file = bytes("00000008 66726565"                                     // free
                            "00000018 6D6F6F76 00000008 66726565 00000008 7472616B" // moov: free, trak
                            "00000008 7472616B");                                   // trak
    const MemorySource source{file};
    const IsoBox all{.begin = 0, .end = file.size()};
    EXPECT_EQ(findBox(source, all, {boxType("moov"), boxType("trak")}), (IsoBox{boxType("trak"), 24, 32, 32}));
    EXPECT_EQ(findBox(source, all, {boxType("trak"), boxType("moov")}), std::nullopt);
}

} // namespace
} // namespace nivex
