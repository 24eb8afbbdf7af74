#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using enum ContainerKind;
using Data = std::vector<std::byte>;

struct SniffCase {
    const char* name;
    Data head;
    SniffResult expected;
};

void expectEach(const std::vector<SniffCase>& cases)
{
    for (const SniffCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(SignatureSniffer::sniff(each.head), each.expected);
    }
}

/// `letters` followed by zeros, as the numbers of most headers are.
Data zeroed(std::string_view letters, std::size_t count = 32)
{
    return joined({textBytes(letters), repeated(0, count)});
}

/// The bytes with `part` from `offset` on.
Data placed(std::size_t offset, const Data& part) { return joined({repeated(0, offset), part}); }

const SniffResult unknown;
const SniffResult plainText{.isText = true};

TEST(SignatureSniffer, MatchesWholeSignaturesOnly)
{
    const SniffResult tiffs{{"tiff", "dng", "nef", "arw", "geotiff"}, tiff};
    expectEach({
        {"nothing", {}, unknown},
        {"PNG", bytes("89 50 4E 47 0D 0A 1A 0A"), {{"png"}}},
        {"PNG one byte short", bytes("89 50 4E 47 0D 0A 1A"), unknown},
        {"CR at 8 makes a TIFF header CR2", bytes("49 49 2A 00 10 00 00 00 43 52"), {{"cr2"}, tiff}},
        {"CR cut by the end of the head", bytes("49 49 2A 00 10 00 00 00 43"), tiffs},
        {"big-endian BigTIFF", bytes("4D 4D 00 2B"), tiffs},
        {"RW2 above TIFF", bytes("49 49 55 00 18"), {{"rw2"}, tiff}},
        {"Photoshop version 1", zeroed(std::string_view{"8BPS\0\1", 6}), {{"psd"}}},
        {"Photoshop version 2", zeroed(std::string_view{"8BPS\0\2", 6}), {{"psb"}}},
        {"Photoshop version 3 does not exist", zeroed(std::string_view{"8BPS\0\3", 6}), unknown},
        {"RIFF", textBytes("RIFF....WAVEfmt "), {{"wav"}, riff}},
        {"RIFX by its form type", textBytes("RIFX....Egg!"), {{"aep"}, riff}},
        {"lower-case CorelDRAW", textBytes("RIFF....cdr9"), {{"cdr"}, riff}},
        {"RIFF of a form nobody knows", zeroed("RIFF....ABCD"), unknown},
        {"PDF", textBytes("%PDF-1.7\n"), {{"pdf"}, pdf}},
        {"PDF of Illustrator", textBytes("%PDF-1.5\n<</Creator(Adobe Illustrator)>>"), {{"ai"}, pdf}},
        {"EPS", textBytes("%!PS-Adobe-3.0 EPSF-3.0\n%%Creator: Adobe Illustrator"), {{"eps"}, postScript}},
        {"Illustrator before PDF",
         textBytes("%!PS-Adobe-3.0\n%%Creator: Adobe Illustrator"),
         {{"ai", "eps"}, postScript}},
        {"OLE", bytes("D0 CF 11 E0 A1 B1 1A E1"), {{"doc", "xls", "ppt", "msg", "msi"}, ole2}},
        {"Ogg", zeroed("OggS"), {{"ogg"}}},
        {"Opus in Ogg", joined({zeroed("OggS", 24), textBytes("OpusHead")}), {{"opus"}}},
        {"Matroska", joined({bytes("1A 45 DF A3 01 42 82 88"), textBytes("matroska")}), {{"mkv"}}},
        {"WebM by its document type", joined({bytes("1A 45 DF A3 01 42 82 84"), textBytes("webm")}), {{"webm"}}},
        {"a Matroska title far behind that says webm",
         joined({bytes("1A 45 DF A3 01 42 82 88"), textBytes("matroska"), repeated(1, 90), textBytes("webm")}),
         {{"mkv"}}},
        {"program stream", bytes("00 00 01 BA"), {{"mpeg", "vob", "sub"}, mpegProgramStream}},
        {"gzip", bytes("1F 8B 08"), {{"gz", "tgz", "svgz", "als"}, gzip}},
        {"bzip2 of nothing", joined({textBytes("BZh9"), bytes("17 72 45 38 50 90")}), {{"bz2"}}},
        {"bzip2 letters without its magic", textBytes("BZh9 is how it begins"), plainText},
        {"tar", joined({zeroed("name.txt", 249), textBytes("ustar")}), {{"tar"}}},
        {"a text with its letters there", joined({repeated('a', 257), textBytes("ustar"), repeated('a', 300)}),
         plainText},
        {"mobi", placed(60, textBytes("BOOKMOBI")), {{"mobi", "azw", "azw3"}, mobi}},
        {"embedded font",
         joined({bytes("10 00 00 00 00 00 00 00 01 00 02 00"), repeated(7, 22), textBytes("LP")}),
         {{"eot"}}},
        {"its version bytes by chance", joined({bytes("10 00 00 00 00 00 00 00 01 00 02 00"), repeated(7, 40)}),
         unknown},
        {"ELF", bytes("7F 45 4C 46"), {{"so", "bin"}, executable}},
        {"ZIP without entries", bytes("50 4B 05 06"), {{"zip"}, zip}},
    });
}

TEST(SignatureSniffer, TakesNoTextForTheMagicItBeginsWith)
{
    const char* sentences[] = {"BM is a bitmap",
                               "MZ opens programs",
                               "CDF, the format",
                               "ID3 tags explained",
                               "true story",
                               "FLV and other films",
                               "AC1032 is a drawing",
                               "ARROW1 flies",
                               "icns are icons",
                               "The free software",
                               "GIF89a may move",
                               "Ogawa Yoko, writer",
                               "MATLAB is a language",
                               "OTTO spricht",
                               "caffeine",
                               "glTF explained",
                               "FUJIFILM X-T3 review",
                               "BLENDER course",
                               "RIFF raff",
                               "SQLite format 3 explained",
                               "wide open",
                               "PAR1 of 2",
                               "LASF is a word",
                               "FORM follows function",
                               "solid evidence was found\nby the police",
                               "From here on\nwe walk",
                               "#!AM or PM",
                               "ply wood\nformat A4",
                               "8BPS"};
    for (const char* sentence : sentences) {
        SCOPED_TRACE(sentence);
        EXPECT_EQ(SignatureSniffer::sniff(textBytes(sentence)), plainText);
    }
    expectEach({
        {"bitmap", zeroed("BM"), {{"bmp"}}},
        {"program", zeroed("MZ"), {{"exe", "dll"}, executable}},
        {"true type", zeroed("true"), {{"ttf"}}},
        {"drawing", zeroed("AC1032"), {{"dwg"}}},
        {"film that opens with free space",
         placed(3, joined({bytes("08"), textBytes("free")})),
         {{"mp4", "m4a", "m4v", "mov", "alac", "3gp"}, isoMediaFile}},
        {"matrix file, its numbers behind 124 letters",
         joined({textBytes("MATLAB 5.0"), repeated(' ', 114), bytes("00 01")}),
         {{"mat"}}},
    });
}

Data isoFile(std::string_view brands)
{
    const auto length = static_cast<unsigned char>(8 + brands.size());
    return joined({repeated(0, 3), repeated(length, 1), textBytes("ftyp"), textBytes(brands), textBytes("avifheic")});
}

TEST(SignatureSniffer, TellsIsoMediaFilesByBrand)
{
    const SniffResult any{{"mp4", "m4a", "m4v", "mov", "alac", "3gp"}, isoMediaFile};
    expectEach({
        {"avif", isoFile("avis...."), {{"avif"}, isoMediaFile}},
        {"heic", isoFile("heix...."), {{"heic"}, isoMediaFile}},
        {"image of neither codec, brands behind the box left out", isoFile("mif1....mif1"), {{"heif"}, isoMediaFile}},
        {"image compatible with HEVC", isoFile("msf1....mif1hevc"), {{"heic"}, isoMediaFile}},
        {"AV1 wins over HEVC", isoFile("mif1....heicavif"), {{"avif"}, isoMediaFile}},
        {"Canon", isoFile("crx ...."), {{"cr3"}, isoMediaFile}},
        {"QuickTime", isoFile("qt  ...."), {{"mov"}, isoMediaFile}},
        {"phone", isoFile("3g2a...."), {{"3gp"}, isoMediaFile}},
        {"audio book", isoFile("M4B ...."), {{"m4a", "alac"}, isoMediaFile}},
        {"Apple video", isoFile("M4VP...."), {{"m4v"}, isoMediaFile}},
        {"a picture by its compatible brands", isoFile("abcd....mif1heix"), {{"heic"}, isoMediaFile}},
        {"of neither codec", isoFile("abcd....mif1"), {{"heif"}, isoMediaFile}},
        {"anything else", isoFile("isom...."), any},
        {"cut before its brand", bytes("00 00 00 18 66 74 79 70 69 73"), any},
    });
}

TEST(SignatureSniffer, FollowsFramesAndPackets)
{
    const Data adts = bytes("FF F1 50 80 02 1F FC"); // 16 bytes long
    const Data audio = bytes("FF FB 90 64");         // 417 bytes long
    const Data packet = joined({bytes("47 40 00 10"), repeated(0, 184)});
    const Data escaped = bytes("FF F1 7C 80 02 1F FC");
    const Data full = joined({bytes("47 40 11 10"), repeated(0xFF, 184)});
    const Data corrected = joined({packet, repeated(0x55, 16)});
    const Data stamped = joined({bytes("00 11 22 33"), packet});
    expectEach({
        {"ADTS, one frame in sight", adts, {{"aac"}}},
        {"ADTS, two frames", joined({adts, repeated(1, 9), adts}), {{"aac"}}},
        {"ADTS whose second frame is none", joined({adts, repeated(1, 30)}), unknown},
        {"ADTS of a rate that stands elsewhere", joined({escaped, repeated(1, 9), escaped}), {{"aac"}}},
        {"one such frame", escaped, unknown},
        {"ADTS of the first reserved rate", bytes("FF F1 74 80 02 1F FC"), unknown},
        {"ADTS of the second", bytes("FF F1 78 80 02 1F FC"), unknown},
        {"MPEG audio", joined({audio, repeated(0, 413), audio}), {{"mp3"}}},
        {"MPEG audio whose second frame is none", joined({audio, repeated(0, 500)}), unknown},
        {"half of a sync", bytes("FF 1B 90 64"), unknown},
        {"reserved bit rate", bytes("FF FB F0 64"), unknown},
        {"a UTF-16 mark is no layer I", joined({bytes("FF FE"), bytes("48 00 69 00")}), plainText},
        {"transport stream", joined({packet, packet, packet}), {{"mpeg-ts"}}},
        {"first packet without zeros", joined({full, packet}), {{"mpeg-ts"}}},
        {"packets with error correction", joined({corrected, corrected, corrected}), {{"mpeg-ts"}}},
        {"one packet proves nothing", packet, unknown},
        {"lost sync", joined({packet, repeated(0, 1), packet}), unknown},
        {"text with G at every packet", joined({textBytes("G"), repeated('a', 187), textBytes("G")}), plainText},
        {"stamped packets", joined({stamped, stamped, stamped}), {{"m2ts"}}},
    });
}

TEST(SignatureSniffer, AsksMuchOfFormatsWithoutSignature)
{
    const Data targa = bytes("00 00 02 00 00 00 00 00 00 00 00 00 40 00 40 00 20 08 FF FF");
    const Data facet =
        joined({repeated(0, 8), bytes("00 00 80 3F"), repeated(0, 24), bytes("00 00 80 3F"), repeated(0, 10)});
    const Data solid = joined({zeroed("solid of a program", 62), bytes("01 00 00 00"), facet});
    Data bent = solid;
    bent[84 + 8] = std::byte{9}; // still a unit length
    bent[84 + 11] = std::byte{0x7F};
    Data rounded = solid; // 6e-17 beside a whole number
    std::ranges::copy(bytes("31 8D 8D 24"), rounded.begin() + 84 + 12);
    Data counted = solid; // integers in the place of reals
    std::ranges::copy(bytes("07 00 00 00"), counted.begin() + 84 + 36);
    expectEach({
        {"Targa", targa, {{"tga"}}},
        {"Targa of no width", bytes("00 00 02 00 00 00 00 00 00 00 00 00 00 00 40 00 20 08 FF FF"), unknown},
        {"grey Targa with alpha", bytes("00 00 03 00 00 00 00 00 00 00 00 00 40 00 40 00 10 08 FF FF"), {{"tga"}}},
        {"grey Targa with one bit of it", bytes("00 00 03 00 00 00 00 00 00 00 00 00 40 00 40 00 10 01 FF FF"),
         unknown},
        {"grey Targa of three bytes", bytes("00 00 03 00 00 00 00 00 00 00 00 00 40 00 40 00 18 00 FF FF"), unknown},
        {"a font without tables", bytes("00 01 00 00 00 00 00 0C 00 00 00 84"), unknown},
        {"zeros are no picture", repeated(0, 64), unknown},
        {"zeros are no solid", repeated(0, 400), unknown},
        {"binary solid whose title begins with the word", solid, {{"stl"}}},
        {"normal of no length", bent, unknown},
        {"a coordinate that rounding left next to zero", rounded, {{"stl"}}},
        {"no coordinate far from it", counted, unknown},
    });
}

TEST(SignatureSniffer, DecodesText)
{
    struct Case {
        const char* name;
        Data data;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"nothing", {}, std::nullopt},
        {"UTF-8", textBytes("déjà"), "déjà"},
        {"the mark is no text", textBytes("\xEF\xBB\xBFoui"), "oui"},
        {"a character that ends in the highest byte", textBytes("¿qué?"), "¿qué?"},
        {"cut in a character of two bytes", textBytes("d\xC3"), "d"},
        {"cut in a character of four bytes", textBytes("d\xF0\x9F\x98"), "d"},
        {"ill-formed in the middle", textBytes("d\xC3 is long enough"), std::nullopt},
        {"over-long slash", textBytes("a\xC0\xAF and more letters"), std::nullopt},
        {"surrogate", textBytes("a\xED\xA0\x80 and more letters"), std::nullopt},
        {"a zero byte", zeroed("text", 1), std::nullopt},
        {"UTF-16, little end first", bytes("FF FE E9 00 3D D8 00 DE"), "é😀"},
        {"UTF-16, big end first, cut in a pair", bytes("FE FF 00 41 D8 3D"), "A"},
        {"UTF-16 with a lone half", bytes("FE FF DE 00 00 41"), std::nullopt},
        {"one control character in twenty",
         textBytes("\x01"
                   "9 letters and 10 more"),
         "\x01"
         "9 letters and 10 more"},
        {"one in nineteen",
         textBytes("\x01"
                   "8 letters and more"),
         std::nullopt},
        {"tabs and line ends are no controls", textBytes("\t\r\n\t\r\n"), "\t\r\n\t\r\n"},
        {"controls beyond ASCII", textBytes("\xC2\x85\xC2\x85 few"), std::nullopt},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(SignatureSniffer::decodeText(each.data), each.expected);
    }
}

TEST(SignatureSniffer, FindsPatternsWithinTheLimit)
{
    const Data data = textBytes("abcabd");
    const auto find = [&data](std::string_view pattern, std::optional<std::size_t> limit = {}) {
        return SignatureSniffer::find(textBytes(pattern), data, limit);
    };
    EXPECT_EQ(find("abd"), 3U);
    EXPECT_EQ(find("abd", 6), 3U);
    EXPECT_EQ(find("abd", 5), std::nullopt); // its last byte lies behind the limit
    EXPECT_EQ(find("abd", 999), 3U);
    EXPECT_EQ(find("", 0), 0U);
    EXPECT_EQ(find("abcabdx"), std::nullopt);
}

TEST(SignatureSniffer, NamesFormatsOfTheCatalogueOnly)
{
    const auto known = SignatureSniffer::formatsWithKnownSignature.ids();
    EXPECT_EQ(known.size(), 62U);
    for (const std::string_view id : known)
        EXPECT_NE(FormatRegistry::standard().format(id), nullptr) << id;
    EXPECT_TRUE(SignatureSniffer::formatsWithKnownSignature.contains("woff2"));
    EXPECT_FALSE(SignatureSniffer::formatsWithKnownSignature.contains("tga"));
}

TEST(ContainerKind, IsStoredByName)
{
    EXPECT_EQ(storedName(subStation), "subStation");
    EXPECT_EQ(containerStoredAs("isoMediaFile"), isoMediaFile);
    EXPECT_EQ(containerStoredAs("ISOMediaFile"), std::nullopt);
}

} // namespace
} // namespace nivex
