#include "NivexKit/Structures/GifBlocks.hpp"
#include "NivexKit/Structures/IconFiles.hpp"
#include "NivexKit/Structures/PngChunks.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"
#include "NivexKit/Structures/WebpHeader.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <string>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

/// A file, and what a walk over it is to find, in the words of its test.
struct WalkCase {
    const char* name;
    Bytes file;
    std::string found;
};

template <class Walk>
void expectWalks(std::initializer_list<WalkCase> cases, Walk walk)
{
    for (const WalkCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(walk(MemorySource{each.file}), each.found);
    }
}

/// "LIST 5 at 12" for each chunk, "cut" where its data are not all there, and where the walk stopped.
std::string riffWalk(const ByteSource& file, ByteOrder order)
{
    std::string found;
    RiffChunks chunks{file, 0, order};
    while (const auto chunk = chunks.next())
        found += chunk->id + " " + std::to_string(chunk->size) + " at " + std::to_string(chunk->offset) +
                 (chunk->isWholeIn(file) ? "; " : " cut; ");
    return found + "until " + std::to_string(chunks.position());
}

TEST(RiffChunks, ArePaddedAndInTheOrderOfTheirFile)
{
    const Bytes odd = joined({textBytes("abcd"), bytes("03 00 00 00 01 02 03 00")});
    const Bytes even = joined({textBytes("efgh"), bytes("02 00 00 00 01 02")});
    const auto little = [](const ByteSource& file) { return riffWalk(file, ByteOrder::little); };
    expectWalks({{"padding", joined({odd, even}), "abcd 3 at 0; efgh 2 at 12; until 22"},
                 {"data to the last byte", even, "efgh 2 at 0; until 10"},
                 {"one byte less", Bytes{even.begin(), even.end() - 1}, "efgh 2 at 0 cut; until 10"},
                 {"a header of seven bytes", joined({even, bytes("41 41 41 41 00 00 00")}), "efgh 2 at 0; until 10"}},
                little);
    expectWalks({{"network order", joined({textBytes("RIFX"), bytes("00 00 00 01 07 00")}), "RIFX 1 at 0; until 10"}},
                [](const ByteSource& file) { return riffWalk(file, ByteOrder::big); });
}

TEST(PngChunks, EndWithTheFile)
{
    const auto walk = [](const ByteSource& file) {
        std::string found;
        PngChunks chunks{file};
        while (const auto chunk = chunks.next())
            found += chunk->type + " " + std::to_string(chunk->data()) + "+" + std::to_string(chunk->count) + " ";
        return found;
    };
    const Bytes head = repeated(0, 8); // of the signature, which is not looked at
    const Bytes chunk = joined({bytes("00 00 00 03"), textBytes("abCD"), bytes("01 02 03 00 00 00 00")});
    const Bytes two = joined({head, chunk, bytes("00 00 00 00"), textBytes("IEND"), bytes("00 00 00 00")});
    expectWalks({{"to the last byte", two, "abCD 16+3 IEND 31+0 "},
                 {"one byte less", Bytes{two.begin(), two.end() - 1}, "abCD 16+3 "},
                 {"a length beyond any file", joined({head, bytes("FF FF FF FF"), textBytes("abCDabCD")}), ""}},
                walk);
}

TEST(GifBlocks, EndWithTheTrailerOrWhereTheyAreCut)
{
    const auto walk = [](const ByteSource& file) {
        std::string found;
        GifBlocks blocks{file};
        while (const auto block = blocks.next())
            found += std::string{block->kind == GifBlock::image ? "image " : "extension "} +
                     std::to_string(block->offset) + (block->isWhole ? "; " : " cut; ");
        return found + (blocks.reachedTrailer() ? "trailer" : blocks.isCut() ? "cut" : "stopped");
    };
    const Bytes screen = joined({textBytes("GIF89a"), bytes("01 00 01 00 80 00 00"), repeated(9, 6)}); // two colours
    const Bytes extension = bytes("21 F9 02 41 42 00");
    const Bytes image = joined({bytes("2C 00 00 00 00 01 00 01 00 80"), repeated(9, 6), bytes("02 02 44 01 00")});
    const Bytes whole = joined({screen, extension, image, bytes("3B")});
    const auto cutBy = [&whole](std::ptrdiff_t count) { return Bytes{whole.begin(), whole.end() - count}; };
    expectWalks(
        {{"whole", whole, "extension 19; image 25; trailer"},
         {"without its trailer", cutBy(1), "extension 19; image 25; cut"},
         {"cut before the last sub-block", cutBy(2), "extension 19; image 25 cut; cut"},
         {"what is no block", joined({screen, bytes("00")}), "stopped"},
         {"a screen without colours", joined({textBytes("GIF89a"), bytes("01 00 01 00 00 00 00 3B")}), "trailer"},
         {"a screen of twelve bytes", Bytes(12), "cut"}},
        walk);
}

TEST(IconFiles, TellTheirPicturesOnlyWhole)
{
    const auto ico = [](const ByteSource& file) {
        std::string found;
        const auto entries = icoEntries(file);
        for (const IcoEntry& entry : entries.value_or(std::vector<IcoEntry>{}))
            found += std::to_string(entry.width) + "x" + std::to_string(entry.height) + " " +
                     std::to_string(entry.size) + " at " + std::to_string(entry.offset) + "; ";
        return entries ? found : "none";
    };
    const Bytes entries = bytes("10 20 00 00 01 00 20 00 05 00 00 00 26 00 00 00"
                                "00 00 00 00 01 00 20 00 06 00 00 00 2B 00 00 00");
    const Bytes icon = joined({bytes("00 00 01 00 02 00"), entries});
    expectWalks({{"two pictures, and nothing behind", icon, "16x32 5 at 38; 256x256 6 at 43; "},
                 {"one byte less", Bytes{icon.begin(), icon.end() - 1}, "none"},
                 {"pointers", joined({bytes("00 00 02 00 02 00"), entries}), "none"},
                 {"a first word", joined({bytes("01 00 01 00 02 00"), entries}), "none"}},
                ico);

    const auto icns = [](const ByteSource& file) {
        std::string found;
        IcnsElements elements{file, file.size()};
        while (const auto element = elements.next())
            found += element->type + " " + std::to_string(element->begin) + "+" + std::to_string(element->size) + " ";
        return found + (elements.reachedEnd() ? "all" : "stopped");
    };
    const Bytes head = repeated(0, 8);
    const Bytes element = joined({textBytes("ic07"), bytes("00 00 00 0A 01 02")});
    expectWalks({{"to the last byte", joined({head, element, element}), "ic07 16+2 ic07 26+2 all"},
                 {"one byte less", joined({head, Bytes{element.begin(), element.end() - 1}}), "stopped"},
                 {"an empty one", joined({head, textBytes("TOC "), bytes("00 00 00 08")}), "TOC  16+0 all"},
                 {"smaller than its head", joined({head, textBytes("TOC "), bytes("00 00 00 07")}), "stopped"}},
                icns);
}

TEST(WebpHeader, StandsInTheFirstChunk)
{
    const auto walk = [](const ByteSource& file) -> std::string {
        RiffChunks chunks{file, 0};
        const auto header = webpHeader(file, chunks.next().value());
        return !header ? "none"
                       : std::to_string(header->width) + "x" + std::to_string(header->height) +
                             (header->hasAlpha ? " alpha" : "") + (header->isAnimated ? " animated" : "") +
                             (header->hasMetadata ? " metadata" : "");
    };
    const auto chunk = [](std::string_view id, std::string_view data) {
        return joined({textBytes(id), bytes("0A 00 00 00"), bytes(data)});
    };
    expectWalks({{"lossy, its scale left out", chunk("VP8 ", "00 00 00 9D 01 2A 05 40 07 C0"), "5x7"},
                 {"lossy of no width", chunk("VP8 ", "00 00 00 9D 01 2A 00 40 07 C0"), "none"},
                 {"lossy of no height", chunk("VP8 ", "00 00 00 9D 01 2A 05 40 00 C0"), "none"},
                 {"lossy without its start", chunk("VP8 ", "00 00 00 9D 01 2B 05 40 07 C0"), "none"},
                 {"lossless", chunk("VP8L", "2F 04 80 01 10"), "5x7 alpha"},
                 {"lossless, cut", chunk("VP8L", "2F 04 80 01"), "none"},
                 {"lossless of another mark", chunk("VP8L", "2E 04 80 01 10"), "none"},
                 {"all that follows", chunk("VP8X", "12 00 00 00 04 00 00 06 00 00"), "5x7 alpha animated"},
                 {"its metadata", chunk("VP8X", "08 00 00 00 04 00 00 06 00 00"), "5x7 metadata"},
                 {"a byte less", chunk("VP8X", "08 00 00 00 04 00 00 06 00"), "none"},
                 {"another chunk", chunk("ALPH", "08 00 00 00 04 00 00 06 00 00"), "none"}},
                walk);
}

} // namespace
} // namespace nivex
