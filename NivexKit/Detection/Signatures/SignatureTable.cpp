#include "NivexKit/Detection/Signatures/SignatureTable.hpp"

#include "NivexKit/Detection/Signatures/BinaryShapes.hpp"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace nivex {
namespace {

using Bytes = std::span<const std::byte>;
using enum ContainerKind;

consteval unsigned digit(char letter)
{
    if (letter >= '0' && letter <= '9')
        return static_cast<unsigned>(letter - '0');
    if (letter >= 'A' && letter <= 'F')
        return static_cast<unsigned>(letter - 'A') + 10;
    throw "not a hexadecimal digit";
}

/// Bytes as pairs of digits with one space between them. A malformed list does not compile.
consteval BytePattern hex(std::string_view digits, std::uint16_t offset = 0)
{
    BytePattern pattern;
    pattern.offset = offset;
    for (std::size_t i = 0; i < digits.size(); i += 3) {
        if (i + 2 < digits.size() && digits[i + 2] != ' ')
            throw "a space is missing between two bytes";
        pattern.bytes.at(pattern.length++) = static_cast<char>(digit(digits[i]) * 16 + digit(digits[i + 1]));
    }
    return pattern;
}

consteval BytePattern text(std::string_view letters, std::uint16_t offset = 0)
{
    BytePattern pattern;
    pattern.offset = offset;
    for (const char letter : letters)
        pattern.bytes.at(pattern.length++) = letter;
    return pattern;
}

// The first matching row wins, so a longer signature stands above the shorter one that it contains.
// clang-format off
constexpr Signature signatures[] = {
    // images and graphics
    {.when = {hex("89 50 4E 47 0D 0A 1A 0A")}, .then = "png"},
    {.when = {hex("FF D8 FF")}, .then = "jpeg"},
    {.when = {hex("49 49 55 00")}, .then = "rw2", .container = tiff},
    {.when = {hex("49 49 2A 00"), text("CR", 8)}, .then = "cr2", .container = tiff},
    {.when = {hex("4D 4D 00 2A"), text("CR", 8)}, .then = "cr2", .container = tiff},
    {.when = {hex("49 49 2B 00"), text("CR", 8)}, .then = "cr2", .container = tiff},
    {.when = {hex("4D 4D 00 2B"), text("CR", 8)}, .then = "cr2", .container = tiff},
    {.when = {hex("49 49 2A 00")}, .then = "tiff dng nef arw geotiff", .container = tiff},
    {.when = {hex("4D 4D 00 2A")}, .then = "tiff dng nef arw geotiff", .container = tiff},
    {.when = {hex("49 49 2B 00")}, .then = "tiff dng nef arw geotiff", .container = tiff},
    {.when = {hex("4D 4D 00 2B")}, .then = "tiff dng nef arw geotiff", .container = tiff},
    {.when = {text("BM")}, .binaryWithin = 32, .then = "bmp"},
    {.when = {text("GIF87a")}, .binaryWithin = 64, .then = "gif"},
    {.when = {text("GIF89a")}, .binaryWithin = 64, .then = "gif"},
    {.when = {text("IIRO")}, .binaryWithin = 16, .then = "orf"},
    {.when = {text("IIRS")}, .binaryWithin = 16, .then = "orf"},
    {.when = {text("MMOR")}, .binaryWithin = 16, .then = "orf"},
    {.when = {hex("00 00 00 0C 4A 58 4C 20 0D 0A 87 0A")}, .then = "jxl"},
    {.when = {hex("FF 0A")}, .then = "jxl"},
    {.when = {hex("00 00 00 0C 6A 50 20 20 0D 0A 87 0A")}, .then = "jp2"},
    {.when = {hex("FF 4F FF 51")}, .then = "jp2"},
    {.when = {hex("00 00 01 00")}, .then = "ico"},
    {.when = {text("icns")}, .binaryWithin = 16, .then = "icns"},
    {.when = {text("8BPS"), hex("00 01", 4)}, .then = "psd"},
    {.when = {text("8BPS"), hex("00 02", 4)}, .then = "psb"},
    {.when = {hex("76 2F 31 01")}, .then = "exr"},
    {.when = {text("#?RADIANCE")}, .then = "hdr"},
    {.when = {text("#?RGBE")}, .then = "hdr"},
    {.when = {hex("AB 4B 54 58 20 32 30 BB 0D 0A 1A 0A")}, .then = "ktx2"},
    {.when = {hex("13 AB A1 5C")}, .then = "astc"},
    {.when = {text("FUJIFILM")}, .binaryWithin = 64, .then = "raf"},
    {.when = {text("gimp xcf")}, .binaryWithin = 16, .then = "xcf"},
    {.when = {text("fig-kiwi")}, .binaryWithin = 16, .then = "fig"},
    {.when = {hex("00 FF 4B 41")}, .then = "afdesign afphoto", .container = affinity},
    {.when = {hex("06 06 ED F5 D8 1D 46 E5")}, .then = "indd"},

    // "free" and its like also stand at that place in plain sentences ("The free …")
    {.when = {text("ftyp", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("moov", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("mdat", 4)}, .binaryWithin = 64, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("wide", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("free", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("skip", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("pnot", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},
    {.when = {text("styp", 4)}, .binaryWithin = 16, .chooses = shapes::isoMediaFormats, .container = isoMediaFile},

    {.when = {text("RIFF"), text("Egg!", 8)}, .then = "aep", .container = riff},
    {.when = {text("RIFX"), text("Egg!", 8)}, .then = "aep", .container = riff},
    {.when = {text("RIFF"), text("WEBP", 8)}, .then = "webp", .container = riff},
    {.when = {text("RIFX"), text("WEBP", 8)}, .then = "webp", .container = riff},
    {.when = {text("RIFF"), text("WAVE", 8)}, .then = "wav", .container = riff},
    {.when = {text("RIFX"), text("WAVE", 8)}, .then = "wav", .container = riff},
    {.when = {text("RF64"), text("WAVE", 8)}, .then = "wav", .container = riff},
    {.when = {text("RIFF"), text("AVI ", 8)}, .then = "avi", .container = riff},
    {.when = {text("RIFX"), text("AVI ", 8)}, .then = "avi", .container = riff},
    {.when = {text("RIFF"), text("CDR", 8)}, .then = "cdr", .container = riff},
    {.when = {text("RIFX"), text("CDR", 8)}, .then = "cdr", .container = riff},
    {.when = {text("RIFF"), text("cdr", 8)}, .then = "cdr", .container = riff},
    {.when = {text("RIFX"), text("cdr", 8)}, .then = "cdr", .container = riff},
    {.when = {text("RIFF"), text("RMID", 8)}, .then = "midi", .container = riff},

    // documents
    {.when = {text("%PDF-")}, .contains = "Illustrator", .then = "ai", .container = pdf},
    {.when = {text("%PDF-")}, .then = "pdf", .container = pdf},
    {.when = {hex("EF BB BF"), text("%PDF-", 3)}, .then = "pdf", .container = pdf},
    {.when = {text("%!PS")}, .test = shapes::isIllustratorPostScript, .then = "ai eps", .container = postScript},
    {.when = {text("%!PS")}, .then = "eps", .container = postScript},
    {.when = {hex("C5 D0 D3 C6")}, .then = "eps", .container = postScript},
    {.when = {hex("D0 CF 11 E0 A1 B1 1A E1")}, .then = "doc xls ppt msg msi", .container = ole2},
    {.when = {text("{\\rtf")}, .then = "rtf"},
    {.when = {text("bplist0")}, .then = "plist"},

    // sound and film
    {.when = {text("ID3")}, .binaryWithin = 10, .then = "mp3"},
    {.when = {text("fLaC")}, .binaryWithin = 16, .then = "flac"},
    {.when = {text("OggS")}, .binaryWithin = 16, .contains = "OpusHead", .then = "opus"},
    {.when = {text("OggS")}, .binaryWithin = 16, .then = "ogg"},
    {.when = {text("FORM"), text("AIFF", 8)}, .then = "aiff"},
    {.when = {text("FORM"), text("AIFC", 8)}, .then = "aiff"},
    {.when = {text("MThd")}, .binaryWithin = 16, .then = "midi"},
    {.when = {text("caff")}, .binaryWithin = 16, .then = "caf"},
    {.when = {text("#!AMR")}, .then = "amr"},
    {.when = {hex("FF")}, .test = shapes::isAdtsFrame, .then = "aac"},
    {.when = {text("ADIF")}, .binaryWithin = 64, .then = "aac"},
    {.when = {hex("FF")}, .test = shapes::isMpegAudioFrame, .then = "mp3"},
    {.when = {hex("1A 45 DF A3")}, .contains = "webm", .containsWithin = 64, .then = "webm"},
    {.when = {hex("1A 45 DF A3")}, .then = "mkv"},
    {.when = {hex("30 26 B2 75 8E 66 CF 11")}, .then = "wmv wma", .container = asf},
    {.when = {text("FLV")}, .binaryWithin = 16, .then = "flv"},
    {.when = {hex("00 00 01 BA")}, .then = "mpeg vob sub", .container = mpegProgramStream},
    {.when = {hex("00 00 01 B3")}, .then = "mpeg"},
    {.when = {hex("47")}, .test = shapes::isTransportStream, .then = "mpeg-ts"},
    {.when = {hex("47", 4)}, .test = shapes::isTimestampedTransportStream, .then = "m2ts"},

    // archives and programs that are archives
    {.when = {hex("50 4B 03 04")}, .then = "zip", .container = zip},
    {.when = {hex("50 4B 05 06")}, .then = "zip", .container = zip},
    {.when = {hex("50 4B 07 08")}, .then = "zip", .container = zip},
    {.when = {hex("37 7A BC AF 27 1C")}, .then = "7z"},
    {.when = {text("Rar!"), hex("1A 07", 4)}, .then = "rar cbr", .container = rar},
    {.when = {hex("1F 8B")}, .then = "gz tgz svgz als", .container = gzip},
    {.when = {text("BZh"), hex("31 41 59 26 53 59", 4)}, .then = "bz2"},
    {.when = {text("BZh"), hex("17 72 45 38 50 90", 4)}, .then = "bz2"},
    {.when = {hex("FD 37 7A 58 5A 00")}, .then = "xz"},
    {.when = {hex("28 B5 2F FD")}, .then = "zst"},
    {.when = {text("ustar", 257)}, .binaryWithin = 512, .then = "tar"},
    {.when = {text("xar!")}, .binaryWithin = 16, .then = "pkg"},
    {.when = {text("!<arch>\ndebian")}, .then = "deb"},
    {.when = {hex("ED AB EE DB")}, .then = "rpm"},
    {.when = {text("koly"), hex("00 00 00 04 00 00 02 00", 4)}, .then = "dmg"},
    {.when = {hex("78 01 73 0D 62 62 60")}, .then = "dmg"}, // the first, compressed block of most disk images
    {.when = {text("encrcdsa")}, .binaryWithin = 16, .then = "dmg"},

    // fonts
    {.when = {text("OTTO")}, .binaryWithin = 16, .then = "otf"},
    {.when = {text("wOFF")}, .binaryWithin = 16, .then = "woff"},
    {.when = {text("wOF2")}, .binaryWithin = 16, .then = "woff2"},
    {.when = {text("ttcf")}, .binaryWithin = 16, .then = "ttc"},
    {.when = {hex("00 01 00 00 00")}, .test = shapes::hasFontTables, .then = "ttf"},
    {.when = {text("true")}, .binaryWithin = 16, .then = "ttf"},
    {.when = {hex("00 00 01 00", 8)}, .test = shapes::isEmbeddedOpenType, .then = "eot"},
    {.when = {hex("01 00 02 00", 8)}, .test = shapes::isEmbeddedOpenType, .then = "eot"},
    {.when = {hex("02 00 02 00", 8)}, .test = shapes::isEmbeddedOpenType, .then = "eot"},

    // publications and scenes
    {.when = {text("AT&TFORM")}, .then = "djvu"},
    {.when = {text("BOOKMOBI", 60)}, .then = "mobi azw azw3", .container = mobi},
    {.when = {text("glTF")}, .binaryWithin = 16, .then = "glb"},
    {.when = {text("BLENDER")}, .binaryWithin = 64, .then = "blend"},
    {.when = {text("Kaydara FBX Binary")}, .then = "fbx"},
    {.when = {text("AC10")}, .binaryWithin = 16, .then = "dwg"},
    {.when = {text("AutoCAD Binary DXF")}, .then = "dxf"},
    {.when = {text("PXR-USDC")}, .binaryWithin = 16, .then = "usd"},
    {.when = {text("Ogawa")}, .binaryWithin = 16, .then = "abc"},
    {.when = {hex("FF FE FF 0E 53 00 6B 00 65 00 74 00 63 00 68 00 55 00 70 00")}, .then = "skp"},
    {.when = {text("ply")}, .test = shapes::isBinaryPly, .then = "ply"},

    // science, maps, data
    {.when = {text("SQLite format 3")}, .binaryWithin = 16, .then = "gpkg", .container = sqlite},
    {.when = {hex("89 48 44 46 0D 0A 1A 0A")}, .then = "hdf5 netcdf", .container = hdf5},
    {.when = {text("CDF")}, .binaryWithin = 16, .then = "netcdf"},
    {.when = {text("SIMPLE  =")}, .then = "fits"},
    {.when = {text(".FIT", 8)}, .binaryWithin = 8, .then = "fit"},
    {.when = {hex("93"), text("NUMPY", 1)}, .then = "npy"},
    {.when = {text("LASF")}, .binaryWithin = 64, .then = "las laz", .container = las},
    {.when = {text("MATLAB")}, .binaryWithin = 128, .then = "mat"}, // 124 letters come before its first number
    {.when = {text("PAR1")}, .binaryWithin = 64, .then = "parquet"},
    {.when = {text("ARROW1")}, .binaryWithin = 8, .then = "arrow"},
    {.when = {text("FEA1")}, .binaryWithin = 64, .then = "arrow"},
    {.when = {hex("00 00 27 0A")}, .then = "shp"},

    // mail, projects, programs
    {.when = {text("!BDN")}, .binaryWithin = 32, .then = "pst"},
    {.when = {text("FLhd")}, .binaryWithin = 16, .then = "flp"},
    {.when = {hex("CF FA ED FE")}, .then = "dylib bin", .container = executable},
    {.when = {hex("CE FA ED FE")}, .then = "dylib bin", .container = executable},
    {.when = {hex("FE ED FA CF")}, .then = "dylib bin", .container = executable},
    {.when = {hex("FE ED FA CE")}, .then = "dylib bin", .container = executable},
    {.when = {hex("CA FE BA BE")}, .then = "dylib bin", .container = executable},
    {.when = {hex("7F 45 4C 46")}, .then = "so bin", .container = executable},
    {.when = {text("MZ")}, .binaryWithin = 64, .then = "exe dll", .container = executable},

    // no signature at all: the shape of the whole head has to speak
    {.binaryWithin = 84, .test = shapes::isBinaryStl, .then = "stl"},
    {.binaryWithin = 18, .test = shapes::isTarga, .then = "tga"},
};
// clang-format on

constexpr std::size_t rowCount = std::size(signatures);

constexpr bool mayOpenWith(const Signature& row, unsigned char first)
{
    for (const BytePattern& pattern : row.when)
        if (pattern.length > 0 && pattern.offset == 0 && static_cast<unsigned char>(pattern.bytes[0]) != first)
            return false;
    return true;
}

/// For each first byte the rows that it leaves possible, in the table's order.
struct FirstByteIndex {
    std::array<std::uint16_t, 257> starts{};
    std::array<std::uint8_t, rowCount * 40> rows{};
};
static_assert(rowCount <= 256);

constexpr FirstByteIndex firstByteIndex = [] {
    FirstByteIndex index;
    std::size_t used = 0;
    for (std::size_t first = 0; first < 256; ++first) {
        index.starts[first] = static_cast<std::uint16_t>(used);
        for (std::size_t row = 0; row < rowCount; ++row)
            if (mayOpenWith(signatures[row], static_cast<unsigned char>(first)))
                index.rows.at(used++) = static_cast<std::uint8_t>(row);
    }
    index.starts[256] = static_cast<std::uint16_t>(used);
    return index;
}();

bool isBinary(Bytes head, std::size_t within)
{
    return std::memchr(head.data(), 0, std::min(within, head.size())) != nullptr;
}

bool contains(Bytes head, std::string_view letters, std::size_t within)
{
    const std::string_view all{reinterpret_cast<const char*>(head.data()), head.size()};
    return all.substr(0, within == 0 ? all.size() : within).find(letters) != std::string_view::npos;
}

bool fulfils(const Signature& row, Bytes head)
{
    return row.when[0].matches(head) && row.when[1].matches(head) &&
           (row.binaryWithin == 0 || isBinary(head, row.binaryWithin)) &&
           (row.contains.empty() || contains(head, row.contains, row.containsWithin)) &&
           (row.test == nullptr || row.test(head));
}

} // namespace

bool BytePattern::matches(std::span<const std::byte> head) const
{
    return head.size() >= std::size_t{offset} + length && std::memcmp(head.data() + offset, bytes.data(), length) == 0;
}

const Signature* matchingSignature(std::span<const std::byte> head)
{
    if (head.empty())
        return nullptr;
    const auto first = std::to_integer<std::size_t>(head.front());
    for (std::size_t i = firstByteIndex.starts[first]; i < firstByteIndex.starts[first + 1]; ++i) {
        const Signature& row = signatures[firstByteIndex.rows[i]];
        if (fulfils(row, head))
            return &row;
    }
    return nullptr;
}

} // namespace nivex
