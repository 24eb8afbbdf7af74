#include "NivexKit/Detection/Containers/StructuralCheck.hpp"
#include "tests/Support/Bytes.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

const std::string cutFile = "fichier tronqué";
const std::string invalid = "structure de fichier invalide";
const std::string noPNGEnd = "fichier tronqué (fin PNG absente)";
const std::string noJPEGEnd = "fichier tronqué (fin JPEG absente)";
const std::string noGIFEnd = "fichier tronqué (fin GIF absente)";

struct Case {
    const char* name;
    const char* format;
    Bytes file;
    std::string problem;
};

void expectProblems(std::initializer_list<Case> cases)
{
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const auto damage = StructuralCheck::problem(MemorySource{each.file}, each.format);
        EXPECT_EQ(damage.value_or(Damage{}).reason, each.problem);
        EXPECT_EQ(damage.value_or(Damage{}).cause.empty(), each.problem.empty()) << "whoever must mend it asks what";
    }
}

/// A box of the ISO base media format, a number of zero bytes long beyond its header.
Bytes box(std::string_view type, std::size_t content = 16, std::size_t announced = 0)
{
    const std::size_t size = announced ? announced : content + 8;
    Bytes header;
    for (int shift = 24; shift >= 0; shift -= 8)
        header.push_back(static_cast<std::byte>(size >> shift));
    return joined({header, textBytes(type), repeated(0, content)});
}

Bytes boxOf(std::string_view type, const Bytes& content) { return joined({box(type, 0, 8 + content.size()), content}); }

/// An index of one track: whether its media lie in the same file (1) or not (0), and where they begin.
Bytes film(unsigned char isHere, unsigned begin)
{
    const auto number = [](unsigned value) {
        return joined({repeated(0, 2), repeated(static_cast<unsigned char>(value >> 8), 1),
                       repeated(static_cast<unsigned char>(value), 1)});
    };
    const Bytes reference = boxOf("url ", joined({repeated(0, 3), repeated(isHere, 1)}));
    const Bytes references = boxOf("dinf", boxOf("dref", joined({repeated(0, 4), number(1), reference})));
    const Bytes pieces = boxOf("stbl", boxOf("stco", joined({repeated(0, 4), number(1), number(begin)})));
    return boxOf("moov", boxOf("trak", boxOf("mdia", boxOf("minf", joined({references, pieces})))));
}

Bytes chunk(std::string_view id, const Bytes& content, std::size_t announced = 0)
{
    const std::size_t size = announced ? announced : content.size();
    Bytes header = textBytes(id);
    for (int shift = 0; shift < 32; shift += 8)
        header.push_back(static_cast<std::byte>(size >> shift));
    return joined({header, content, repeated(0, announced ? 0 : content.size() % 2)});
}

Bytes wave(const Bytes& data, std::size_t announced = 0)
{
    return chunk("RIFF", joined({textBytes("WAVE"), chunk("fmt ", repeated(0, 16)), data}), announced);
}

TEST(StructuralCheck, LooksForEndMarkersNearTheEnd)
{
    const Bytes gif = joined({textBytes("GIF89a"), bytes("01 00 01 00 80 00 00 00 00 00 FF FF FF"),
                              bytes("2C 00 00 00 00 01 00 01 00 00 02 02 44 01 00")});
    const Bytes jpeg = bytes("FF D8 FF E0 00 03 00 FF FF DB 00 02 FF DA 00 02 00 FF 00 FF D7 11");
    expectProblems({
        {"end within the window", "png", joined({textBytes("IEND"), repeated(0, 4'092)}), ""},
        {"end before the window", "png", joined({textBytes("IEND"), repeated(0, 4'093)}), noPNGEnd},
        {"cut inside the marker", "png", joined({repeated(0, 100), textBytes("IEN")}), noPNGEnd},
        {"a preview behind the picture", "jpeg", joined({bytes("FF D8 FF D9 FF D8 00 FF D9"), repeated(0, 9)}), ""},
        {"no end", "jpeg", bytes("FF D8 FF E0 00 10"), noJPEGEnd},
        {"ten bytes that end well", "gif", joined({textBytes("GIF89a"), repeated(0, 3), textBytes(";")}), ""},
        {"a screen that ends so", "gif", joined({textBytes("GIF89a"), repeated(0, 6), textBytes(";")}), noGIFEnd},
        {"bytes behind the end", "gif", joined({gif, bytes("3B"), repeated(0, 63)}), ""},
        {"cut where the end marker occurs by chance", "gif",
         joined({gif, bytes("2C 00 00 00 00 01 00 01 00 00 02 04 3B 44")}), noGIFEnd},
        {"end before the window", "gif", joined({textBytes("GIF89a;"), repeated(0, 64)}), noGIFEnd},
        {"zeros far behind the end", "gif", joined({gif, bytes("3B"), repeated(0, 99)}), ""},
        {"no end before other data", "gif", joined({gif, repeated(0, 99)}), noGIFEnd},
        {"a film behind a photograph", "jpeg", joined({jpeg, bytes("FF D9"), repeated('x', 5'000)}), ""},
        {"tables between scans and stuffed bytes", "jpeg",
         joined({jpeg, bytes("FF C4 00 03 00 FF DA 00 02 11 FF 00 FF D0 22 FF FF D9"), repeated('x', 5'000)}), ""},
        {"a cut photograph", "jpeg", joined({jpeg, repeated('x', 5'000)}), noJPEGEnd},
        {"no scan before the end", "jpeg", joined({bytes("FF D8 FF D9"), repeated('x', 5'000)}), noJPEGEnd},
        {"other data behind the end", "png",
         joined({bytes("89 50 4E 47 0D 0A 1A 0A 00 00 00 00 49 45 4E 44 AE 42 60 82"), repeated('x', 5'000)}), ""},
        {"a chunk cut before the end", "png",
         joined({bytes("89 50 4E 47 0D 0A 1A 0A 00 00 20 00 49 44 41 54"), repeated('x', 5'000)}), noPNGEnd},
        {"a format without a check", "bmp", textBytes("BM"), ""},
        {"nothing", "png", {}, ""},
    });
}

TEST(StructuralCheck, WalksTheBoxesOfMediaFiles)
{
    const Bytes ftyp = box("ftyp");
    const Bytes large =
        joined({bytes("00 00 00 01"), textBytes("mdat"), bytes("00 00 00 00 00 00 00 18"), repeated(0, 8)});
    expectProblems({
        {"index first", "mp4", joined({ftyp, box("moov"), box("mdat")}), ""},
        {"index last", "mov", joined({box("wide", 0), box("mdat"), box("moov")}), ""},
        {"64-bit size", "mp4", joined({ftyp, large, box("moov")}), ""},
        {"media up to the end of the file", "mp4", joined({ftyp, box("moov"), bytes("00 00 00 00 6D 64 61 74 01")}),
         ""},
        {"fragments", "mp4", joined({ftyp, box("moov"), box("moof"), box("mdat"), box("moof"), box("mdat")}), ""},
        {"one segment", "mp4", joined({box("styp"), box("moof"), box("mdat")}), ""},
        {"a picture", "heic", joined({ftyp, box("meta"), box("mdat")}), ""},
        {"zeros behind the end", "mp4", joined({ftyp, box("moov"), box("mdat"), repeated(0, 20)}), ""},
        {"anything behind the end", "mp4", joined({ftyp, box("moov"), box("mdat"), textBytes("SEFT!")}), ""},
        {"a cut box of no use behind the end", "mp4", joined({ftyp, box("moov"), box("mdat"), box("free", 4, 99)}), ""},
        {"cut in the media", "mp4", joined({ftyp, box("moov"), box("mdat", 16, 25)}), cutFile},
        {"cut in the index", "m4a", joined({ftyp, box("mdat"), box("moov", 16, 25)}), cutFile},
        {"cut in a fragment", "mp4", joined({ftyp, box("moov"), box("moof"), box("mdat", 16, 25)}), cutFile},
        {"cut between media and index", "mp4", joined({ftyp, box("mdat")}), cutFile},
        {"cut in a header before the index", "mp4", joined({ftyp, bytes("00 00")}), cutFile},
        {"cut in the first box", "avif", box("ftyp", 16, 32), cutFile},
        {"cut in a box before the index", "mp4", joined({ftyp, box("free", 4, 99)}), cutFile},
        {"first box shorter than its header", "mp4", joined({box("ftyp", 16, 7), repeated('x', 9)}), invalid},
        {"cut in a box between index and media", "mp4", joined({ftyp, box("moov"), box("free", 4, 99)}), cutFile},
        {"cut in a box of the maker before the pixels", "cr3",
         joined({ftyp, box("moov"), box("uuid"), box("uuid", 16, 25)}), cutFile},
        {"media that would begin behind the end", "mp4", joined({ftyp, film(1, 1'000)}), cutFile},
        {"their header cut", "mp4", joined({ftyp, film(1, 1'000), bytes("00 00 01")}), cutFile},
        {"media in another file", "mov", joined({ftyp, film(0, 1'000)}), ""},
        {"media that are somewhere", "mov", joined({ftyp, film(1, 24)}), ""},
        {"fragments to come", "mp4", joined({ftyp, box("moov")}), ""},
        {"no boxes", "3gp", repeated(1, 64), invalid},
        {"64-bit size that wraps around", "mp4",
         joined({ftyp, bytes("00 00 00 01"), textBytes("mdat"), repeated(0xFF, 8)}), cutFile},
    });
}

TEST(StructuralCheck, WalksTheChunksOfRiffFiles)
{
    const Bytes data = chunk("data", repeated(0, 100));
    const Bytes film = chunk("RIFF", joined({textBytes("AVI "), chunk("LIST", repeated(0, 50))}));
    const Bytes next = chunk("RIFF", joined({textBytes("AVIX"), chunk("LIST", repeated(0, 50))}));
    const Bytes picture = chunk("RIFF", joined({textBytes("WEBP"), chunk("VP8 ", repeated(0, 50))}));
    const auto without = [](Bytes file, std::size_t count) {
        file.resize(file.size() - count);
        return file;
    };
    expectProblems({
        {"sound", "wav", wave(data), ""},
        {"big-endian", "wav",
         joined({textBytes("RIFX"), bytes("00 00 00 0C"), textBytes("WAVEdata"), bytes("00 00 00 00")}), ""},
        {"a live recording that left its sizes at zero", "wav",
         joined({textBytes("RIFF"), bytes("00 00 00 00"), textBytes("WAVEdata"), bytes("00 00 00 00"), repeated(1, 9)}),
         ""},
        {"a live recording of unknown size", "wav", wave(chunk("data", repeated(0, 100), 0xFFFFFFFF), 0xFFFFFFFF), ""},
        {"an outer size that counts its header", "wav", wave(data, 150), ""},
        {"notes cut behind the sound", "wav", without(wave(joined({data, chunk("LIST", repeated(0, 60))})), 30), ""},
        {"no padding", "wav", without(wave(chunk("data", repeated(0, 101))), 1), ""},
        {"sizes that stand elsewhere", "wav", joined({textBytes("RF64"), repeated(0xFF, 4), textBytes("WAVE")}), ""},
        {"cut in the sound", "wav", without(wave(data), 50), invalid},
        {"cut before the sound", "wav", without(wave(data), 110), invalid},
        {"another file", "wav", textBytes("no sound at all"), invalid},
        {"three bytes", "wav", textBytes("RIF"), invalid},
        {"a film in two parts", "avi", joined({film, next}), ""},
        {"a film cut in its second part", "avi", without(joined({film, next}), 20), invalid},
        {"bytes behind a film", "avi", joined({film, repeated('x', 100)}), ""},
        {"a picture and its padding", "webp", joined({picture, repeated(0, 5)}), ""},
        {"a picture without its padding", "webp",
         without(chunk("RIFF", joined({textBytes("WEBPVP8 "), bytes("01 00 00 00 2A 00")})), 1), ""},
        {"a picture cut by two bytes", "webp", without(picture, 2), invalid},
    });
}

TEST(StructuralCheck, NamesThePlaceOfTheDamage)
{
    const auto cause = [](const Bytes& file, const char* format) {
        return StructuralCheck::problem(MemorySource{file}, format).value_or(Damage{}).cause;
    };
    EXPECT_EQ(cause(joined({box("ftyp"), box("moov", 16, 1'000)}), "mp4"), "moov at 24: larger than the file");
    EXPECT_EQ(
        cause(joined({textBytes("RIFF"), bytes("24 00 00 00"), textBytes("WAVEdata"), bytes("64 00 00 00")}), "wav"),
        "data at 12: larger than the file");
}

TEST(StructuralCheck, JudgesNoFileThatItCannotRead)
{
    const testing::TemporaryFolder folder;
    const auto file = folder.write("cut.png", "not whole");
    EXPECT_EQ(StructuralCheck::problem(file, "png", 9), (Damage{noPNGEnd, "IEND not in the last 9 bytes"}));
    EXPECT_EQ(StructuralCheck::problem(file, "png", 0), std::nullopt);
    EXPECT_EQ(StructuralCheck::problem(folder / "missing.png", "png", 9), std::nullopt);
    EXPECT_EQ(StructuralCheck::problem(folder.path(), "png", 9), std::nullopt);
}

} // namespace
} // namespace nivex
