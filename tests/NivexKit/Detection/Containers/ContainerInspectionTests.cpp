#include "NivexKit/Archive/Deflate.hpp"
#include "tests/NivexKit/Detection/Containers/ContainerCases.hpp"

#include <numeric>

namespace nivex {
namespace {

using testing::bigEndian;
using testing::bytes;
using testing::expectFindings;
using testing::joined;
using testing::littleEndian;
using testing::repeated;
using testing::sniffed;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

Bytes at(std::size_t offset, const Bytes& content, std::size_t size = 0)
{
    Bytes file(offset);
    file.insert(file.end(), content.begin(), content.end());
    file.resize(std::max(file.size(), size));
    return file;
}

Bytes gzipped(const Bytes& content)
{
    const auto data = Deflate::process(Deflate::Direction::encode, content, content.size() + 100);
    return joined({bytes("1F 8B 08 00 00 00 00 00 00 03"), *data});
}

/// A block of an archive from before the magic: name, mode, checksum.
Bytes oldTarBlock()
{
    Bytes block = at(0, textBytes("readme"), 512);
    std::fill_n(block.begin() + 148, 8, std::byte{' '});
    const unsigned sum = std::accumulate(block.begin(), block.end(), 0U, [](unsigned total, std::byte each) {
        return total + std::to_integer<unsigned>(each);
    });
    for (unsigned i = 0; i < 6; ++i)
        block[148 + i] = static_cast<std::byte>('0' + (sum >> (15 - 3 * i)) % 8);
    return block;
}

TEST(ContainerInspection, LooksIntoCompressedFiles)
{
    expectFindings(sniffed(ContainerKind::gzip),
                   {
                       {"archive", gzipped(at(257, textBytes("ustar"), 1'024)), "tgz gz"},
                       {"archive of an older program", gzipped(oldTarBlock()), "tgz gz"},
                       {"zeros", gzipped(repeated(0, 1'024)), "gz"},
                       {"drawing", gzipped(textBytes("<?xml version=\"1.0\"?><svg/>")), "svgz gz"},
                       {"music project", gzipped(textBytes("<?xml?><Ableton Major=\"5\">")), "als gz"},
                       {"film project", gzipped(textBytes("<?xml?><PremiereData Version=\"3\">")), "prproj gz"},
                       {"scene", gzipped(textBytes("BLENDER-v279")), "blend gz"},
                       {"invalid data", bytes("1F 8B 08 00 00 00 00 00 00 03 07"), "-"},
                   });
    expectFindings(sniffed("zst"), {{"seekable", at(4, bytes("B1 EA 92 8F")), "zst blend"}, {"plain", Bytes(8), "-"}});
    expectFindings(
        sniffed(ContainerKind::rar),
        {
            {"plain", bytes("52 61 72 21 1A 07 01 00 33 92 B5 E5 0A 01 05 06 00 05 01 01"), "-"},
            {"encrypted", bytes("52 61 72 21 1A 07 01 00 33 92 B5 E5 21 04 00 00 01"), "- encrypted"},
            {"plain, version 4",
             bytes("52 61 72 21 1A 07 00 CF 90 73 00 00 0D 00 00 00 00 00 00 00 00 00 74 20 90 2D 00"), "-"},
            {"encrypted headers, version 4", bytes("52 61 72 21 1A 07 00 CE 99 73 80 00 0D 00"), "- encrypted"},
            {"encrypted file, version 4",
             bytes("52 61 72 21 1A 07 00 CF 90 73 00 00 0D 00 00 00 00 00 00 00 00 00 74 24 90 2D 00"), "- encrypted"},
        });
    const auto sevenZip = [](const Bytes& directory) {
        return joined({bytes("37 7A BC AF 27 1C 00 04 00 00 00 00"), littleEndian(3, 8),
                       littleEndian(directory.size(), 8), repeated(0, 7), directory});
    };
    expectFindings(sniffed("7z"), {{"plain", sevenZip(bytes("17 06 00 21 21 01")), "-"},
                                   {"encrypted", sevenZip(bytes("17 06 24 06 F1 07 01 0A")), "- encrypted"},
                                   {"encrypted, nothing else", sevenZip(bytes("06 F1 07 01")), "- encrypted"},
                                   {"directory behind the end", sevenZip({}), "-"},
                                   {"offset beyond the end", at(12, repeated(0xFF, 20)), "-"}});
}

TEST(ContainerInspection, AsksMoreThanAFewBytesOfIconsAndScenes)
{
    const auto icon = [](std::uint32_t size, std::uint32_t offset) {
        return joined({bytes("00 00 01 00 01 00"), repeated(16, 8), littleEndian(size, 4), littleEndian(offset, 4),
                       repeated(0, 40)});
    };
    expectFindings(sniffed("ico"), {{"one picture", icon(40, 22), "-"},
                                    {"cut in its picture", icon(400, 22), "-"},
                                    {"its picture in the directory", icon(40, 21), ""},
                                    {"its picture behind the end", icon(40, 62), ""},
                                    {"an empty picture", icon(0, 22), ""},
                                    {"no picture", bytes("00 00 01 00 00 00"), ""}});
    const auto scene = [](std::uint32_t count) {
        return joined({repeated(0, 80), littleEndian(count, 4), repeated(0, 150)});
    };
    expectFindings(sniffed("stl"), {{"room for all", scene(3), "-"}, {"room for one less", scene(4), ""}});
}

TEST(ContainerInspection, RecognisesDiskImagesByTheirFarSignatures)
{
    expectFindings(
        SniffResult::unknownBinary(),
        {
            {"disc", at(32'769, textBytes("CD001"), 40'000), "iso"},
            {"disc of the newer kind", at(32'769, textBytes("BEA01")), "iso"},
            {"disk image", at(5'000, at(0, textBytes("koly"), 512)), "dmg"},
            {"encrypted disk image", at(0, textBytes("encrcdsa"), 100), "dmg encrypted"},
            {"archive of an older program", oldTarBlock(), "tar"},
            {"picture", at(100, joined({repeated(0, 8), textBytes("TRUEVISION-XFILE."), bytes("00")})), "tga"},
            {"anything", repeated(7, 600), "-"},
            {"nothing", {}, "-"},
        });
    expectFindings(sniffed("bz2"), {{"disk image", at(5'000, at(0, textBytes("koly"), 512)), "dmg"},
                                    {"not a disc", at(32'769, textBytes("CD001")), "-"}});
    SniffResult text = SniffResult::unknownBinary();
    text.isText = true;
    expectFindings(text, {{"text", at(5'000, at(0, textBytes("koly"), 512)), "-"}});
}

TEST(ContainerInspection, TellsDocumentsApart)
{
    expectFindings(sniffed(ContainerKind::pdf),
                   {
                       {"document", textBytes("%PDF-1.4"), "pdf"},
                       {"document drawn elsewhere", textBytes("%PDF-1.4 /Creator (Adobe Illustrator 27)"), "pdf ai"},
                       {"drawing", at(70'000, textBytes("/AIPrivateData1 5 0 R")), "ai pdf"},
                   });
    expectFindings(
        sniffed(ContainerKind::postScript),
        {
            {"drawing", textBytes("%!PS-Adobe-3.0 \r%%Creator: Adobe Illustrator(R) 8.0"), "ai eps"},
            {"drawing to embed", textBytes("%!PS-Adobe-3.1 EPSF-3.0\r%%Creator: Adobe Illustrator"), "eps ai"},
            {"document", textBytes("%!PS-Adobe-3.0\n%%Creator: groff"), "-"},
        });
    const auto book = [](std::uint32_t version, std::uint32_t lock) {
        return joined({at(78, bigEndian(90, 4), 90), repeated(0, 12), bigEndian(lock, 2), repeated(0, 22),
                       bigEndian(version, 4)});
    };
    expectFindings(sniffed(ContainerKind::mobi), {{"older book", book(6, 0), "mobi azw azw3"},
                                                  {"newer book", book(8, 0), "azw3 azw mobi"},
                                                  {"locked book", book(8, 2), "azw3 azw mobi encrypted"},
                                                  {"no record", at(78, repeated(0xFF, 4)), "-"}});
    expectFindings(sniffed(ContainerKind::subStation),
                   {{"advanced", textBytes("[Script Info]\nScriptType: v4.00+\n"), "ass ssa"},
                    {"older", textBytes("[Script Info]\nScriptType: v4.00\n"), "ssa ass"},
                    {"unstated", textBytes("[Script Info]\n"), "-"}});
}

TEST(ContainerInspection, TellsDataAndProgramsApart)
{
    expectFindings(sniffed(ContainerKind::sqlite),
                   {{"maps", at(68, textBytes("GPKG"), 100), "gpkg"},
                    {"maps without a number", at(500, textBytes("gpkg_contents")), "gpkg"},
                    {"any database", Bytes(100), ""}});
    expectFindings(
        sniffed(ContainerKind::hdf5),
        {{"newer weather data", at(500, textBytes("_NCProperties")), "netcdf hdf5"}, {"any data", Bytes(100), "-"}});
    expectFindings(sniffed(ContainerKind::las),
                   {{"points", at(104, bytes("03")), "las"}, {"compressed points", at(104, bytes("83")), "laz"}});
    const auto windowsProgram = [](std::uint64_t traits) {
        return joined({at(0, textBytes("MZ"), 60), littleEndian(64, 4), textBytes("PE"), repeated(0, 20),
                       littleEndian(traits, 2)});
    };
    expectFindings(sniffed(ContainerKind::executable),
                   {
                       {"compiled class", bytes("CA FE BA BE 00 00 00 34"), ""},
                       {"compiled class of the first version", bytes("CA FE BA BE 00 00 00 2D"), ""},
                       {"program for one processor less", bytes("CA FE BA BE 00 00 00 2C"), "-"},
                       {"program for two processors", bytes("CA FE BA BE 00 00 00 02"), "-"},
                       {"program", windowsProgram(0x0102), "exe dll"},
                       {"library", windowsProgram(0x2102), "dll exe"},
                       {"program of the old days", at(0, textBytes("MZ"), 64), "exe dll"},
                       {"program whose header lies beyond the end",
                        joined({at(0, textBytes("MZ"), 60), repeated(0xFF, 4)}), "exe dll"},
                       {"other systems", bytes("7F 45 4C 46 02 01 01 00"), "-"},
                   });
}

/// A TIFF file with one directory of those fields: tag, type, value; the brand, if any, stands behind it.
struct Field {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint64_t value;
};

Bytes tiffFile(const std::vector<Field>& fields, const Bytes& behind = {})
{
    Bytes file = joined({bytes("49 49 2A 00 08 00 00 00"), littleEndian(fields.size(), 2)});
    for (const Field& each : fields)
        file = joined({file, littleEndian(each.tag, 2), littleEndian(each.type, 2), littleEndian(each.count, 4),
                       littleEndian(each.value, 4)});
    return joined({file, repeated(0, 4), behind});
}

TEST(ContainerInspection, TellsTheRelativesOfTiffApart)
{
    SniffResult sniff = sniffed(ContainerKind::tiff);
    sniff.candidates = {"tiff", "dng", "nef", "arw", "geotiff"};
    const std::uint32_t behindTwo = 8 + 2 + 2 * 12 + 4;
    const Bytes nikonRaw = joined({textBytes("NIKON "), bytes("01 00"), bytes("06 01 03 00 01 00 00 00 23 80 00 00")});
    const Bytes nikonPicture =
        joined({textBytes("NIKON "), bytes("01 00"), bytes("06 01 03 00 01 00 00 00 02 00 00 00")});
    const std::vector<Field> withPartBelow = {{271, 2, 6, behindTwo}, {330, 4, 1, behindTwo + 6}};
    expectFindings(
        sniff, {
                   {"picture", tiffFile({{256, 3, 1, 10}}), "tiff"},
                   {"negative", tiffFile({{50706, 1, 4, 0x0401}}), "dng"},
                   {"map", tiffFile({{34735, 3, 4, 200}}), "geotiff"},
                   {"sensor data below", tiffFile(withPartBelow, nikonRaw), "nef"},
                   {"developed by the same maker", tiffFile(withPartBelow, nikonPicture), "tiff nef"},
                   {"sensor data", tiffFile({{262, 3, 1, 32803}, {271, 2, 5, behindTwo}}, textBytes("SONY")), "arw"},
                   {"private data", tiffFile({{271, 2, 5, behindTwo}, {50740, 1, 4, 9}}, textBytes("SONY")), "arw"},
                   {"sensor data of another maker",
                    tiffFile({{262, 3, 1, 32803}, {271, 2, 6, behindTwo}}, textBytes("PENTAX")), "tiff"},
                   {"map with 64-bit offsets",
                    joined({bytes("4D 4D 00 2B 00 08 00 00"), bigEndian(16, 8), bigEndian(1, 8), bigEndian(34735, 2),
                            bigEndian(3, 2), bigEndian(4, 8), bigEndian(0, 8)}),
                    "geotiff"},
                   {"brand beyond the end", tiffFile({{271, 2, 18, 5'000}}), "-"},
                   {"directory beyond the end", bytes("49 49 2A 00 FF FF FF FF"), "-"},
                   {"a part below that is the directory itself",
                    tiffFile({{271, 2, 5, behindTwo}, {330, 4, 1, 8}}, textBytes("SONY")), "tiff arw"},
               });
}

} // namespace
} // namespace nivex
