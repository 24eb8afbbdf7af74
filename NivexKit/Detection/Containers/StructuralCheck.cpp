#include "NivexKit/Detection/Containers/StructuralCheck.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/GifBlocks.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"
#include "NivexKit/Structures/PngChunks.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace nivex {
namespace {

using Problem = std::optional<Damage>;

// Both walks stop here and call the file sound: a fragmented film of several hours has more boxes than are worth the
// time.
constexpr int maxSteps = 4'096;

/// The end marker that a whole file has within its last bytes, and a look that finds the end where other data follow
/// it: a film behind a photograph, previews of a camera, padding.
struct EndMarker {
    std::string_view format;
    std::string_view marker;
    std::uint64_t window;
    bool (*ends)(const ByteSource&);
    Text problem;
    std::string_view cause; // the marker as its format names it
};

bool pngEnds(const ByteSource& source)
{
    PngChunks chunks{source};
    while (const auto chunk = chunks.next())
        if (chunk->type == "IEND")
            return true;
    return false;
}

bool jpegEnds(const ByteSource& source) { return jpegPictureEnd(source).has_value(); }

bool gifEnds(const ByteSource& source)
{
    GifBlocks blocks{source};
    while (blocks.next()) {
    }
    return blocks.reachedTrailer();
}

// clang-format off
constexpr EndMarker endMarkers[] = {
    {"png",  "IEND",     4'096, pngEnds,  "fichier tronqué (fin PNG absente)"_fr,  "IEND"},
    {"jpeg", "\xFF\xD9", 4'096, jpegEnds, "fichier tronqué (fin JPEG absente)"_fr, "EOI"},
    {"gif",  ";",           64, gifEnds,  "fichier tronqué (fin GIF absente)"_fr,  "trailer"},
};

struct Walk {
    std::string_view formats; // separated by spaces
    Problem (*problem)(const ByteSource&);
};

constexpr Walk walks[] = {
    {" heic heif avif cr3 mp4 mov m4a m4v 3gp ", isoMediaProblem},
    {" webp wav avi ",                           riffProblem},
};
// clang-format on

/// The byte that ends a GIF is frequent inside it too, so the blocks of a small file are followed to see whether they
/// end. A file too short to have any is not judged.
bool gifBlocksAreCut(const ByteSource& source)
{
    constexpr std::uint64_t smallFile = 512 << 10;
    constexpr std::uint64_t screenEnd = 13;
    if (source.size() > smallFile || source.size() < screenEnd)
        return false;
    GifBlocks blocks{source};
    while (blocks.next()) {
    }
    return blocks.isCut();
}

Problem missingEnd(const ByteSource& source, const EndMarker& end)
{
    const std::uint64_t window = std::min(source.size(), end.window);
    const auto tail = source.read(source.size() - window, static_cast<std::size_t>(window));
    const std::string_view text{reinterpret_cast<const char*>(tail.data()), tail.size()};
    if (text.find(end.marker) != text.npos && (end.format != "gif" || !gifBlocksAreCut(source)))
        return std::nullopt;
    if (end.ends(source))
        return std::nullopt;
    return Damage{end.problem, std::string{end.cause} + " not in the last " + std::to_string(window) + " bytes"};
}

bool isIndex(const IsoBox& box)
{
    return box.type == boxType("moov") || box.type == boxType("moof") || box.type == boxType("meta");
}

/// A number of a box in network order; none when the file ends before it.
std::optional<std::uint64_t> numberAt(const ByteSource& source, std::uint64_t offset, std::size_t width)
{
    std::array<std::byte, 8> bytes;
    ByteReader reader{std::span{bytes}.first(source.read(offset, std::span{bytes}.first(width))), ByteOrder::big};
    const std::uint64_t number = width == 8 ? reader.u64() : reader.u32();
    return reader.failed() ? std::nullopt : std::optional{number};
}

/// True when the first data reference of a track says that its media are in this file.
bool keepsItsMedia(const ByteSource& source, const IsoBox& media)
{
    constexpr std::uint64_t firstReference = 8; // behind version, flags and count
    constexpr std::uint64_t sameFile = 1;
    const auto references = findBox(source, media, {boxType("dinf"), boxType("dref")});
    if (!references)
        return false;
    const auto flags = numberAt(source, references->begin + firstReference + 8, 4);
    return flags && (*flags & sameFile) != 0;
}

/// Where the first piece of a track's media stands; none where its table is empty.
std::optional<std::uint64_t> firstPiece(const ByteSource& source, const IsoBox& media)
{
    const auto narrow = findBox(source, media, {boxType("stbl"), boxType("stco")});
    const auto table = narrow ? narrow : findBox(source, media, {boxType("stbl"), boxType("co64")});
    if (!table || numberAt(source, table->begin + 4, 4).value_or(0) == 0)
        return std::nullopt;
    return numberAt(source, table->begin + 8, narrow ? 4 : 8);
}

/// True when the first piece of a track lies behind the end of the file. Tracks of a film whose media are kept in
/// another file, or that come in fragments, describe none here.
bool describesMissingMedia(const ByteSource& source)
{
    const auto movie = findBox(source, {.begin = 0, .end = source.size()}, {boxType("moov")});
    if (!movie)
        return false;
    IsoBoxes tracks{source, *movie};
    while (const auto track = tracks.next()) {
        const auto media =
            track->type == boxType("trak") ? findBox(source, *track, {boxType("mdia"), boxType("minf")}) : std::nullopt;
        if (!media || !keepsItsMedia(source, *media))
            continue;
        if (const auto first = firstPiece(source, *media); first && *first >= source.size())
            return true;
    }
    return false;
}

Damage cutFile(std::string cause) { return {"fichier tronqué"_fr, std::move(cause)}; }
Damage invalidStructure(std::string cause) { return {"structure de fichier invalide"_fr, std::move(cause)}; }

/// "LIST at 36: larger than the file".
Damage tooLarge(const RiffChunk& chunk)
{
    return invalidStructure(std::string{chunk.id} + " at " + std::to_string(chunk.offset) + ": larger than the file");
}

// A size may be wrong by as much as the header that careless programs count twice.
constexpr std::uint64_t sizeTolerance = 8;

bool isOpenEnded(const RiffChunk& chunk) { return chunk.size == 0 || chunk.size == 0xFFFFFFFF; }

bool reachesBeyond(const ByteSource& source, const RiffChunk& chunk, std::uint64_t tolerance)
{
    return chunk.size > source.size() - chunk.data() + tolerance;
}

/// The samples of a sound file must be there; what follows them need not.
Problem waveProblem(const ByteSource& source, ByteOrder order)
{
    RiffChunks chunks{source, 12, order};
    for (int step = 0; step < maxSteps; ++step) {
        const auto chunk = chunks.next();
        if (!chunk)
            return invalidStructure("WAVE: no data chunk");
        if (!isOpenEnded(*chunk) && reachesBeyond(source, *chunk, sizeTolerance))
            return tooLarge(*chunk);
        if (chunk->id == "data")
            return std::nullopt;
    }
    return std::nullopt;
}

/// The whole of a picture or a film must be there. A long film is several RIFF chunks, one behind the other.
Problem outerProblem(const ByteSource& source, ByteOrder order, std::uint64_t tolerance)
{
    RiffChunks chunks{source, 0, order};
    for (int step = 0; step < maxSteps; ++step) {
        const auto chunk = chunks.next();
        if (!chunk || (chunk->id != "RIFF" && chunk->id != "RIFX") || isOpenEnded(*chunk))
            return std::nullopt;
        if (reachesBeyond(source, *chunk, tolerance))
            return tooLarge(*chunk);
    }
    return std::nullopt;
}

} // namespace

Problem isoMediaProblem(const ByteSource& source)
{
    bool hasIndex = false;
    bool hasMedia = false;
    IsoBoxes boxes{source};
    for (int step = 0; step < maxSteps; ++step) {
        const auto box = boxes.next();
        if (const auto& cut = boxes.cutBox()) {
            const bool isNeeded = isIndex(*cut) || cut->type == boxType("mdat") || cut->offset == 0;
            if (!isNeeded && hasIndex && hasMedia)
                return std::nullopt;
            return cutFile(boxName(cut->type) + " at " + std::to_string(cut->offset) + ": larger than the file");
        }
        if (!box && hasIndex && !hasMedia && describesMissingMedia(source))
            return cutFile("moov: its media lie behind the end of the file");
        if (!box && (hasIndex || (boxes.position() == source.size() && !hasMedia)))
            return std::nullopt;
        if (!box)
            return boxes.reachedEnd() ? cutFile("no moov, moof or meta before the end")
                                      : invalidStructure("no box at " + std::to_string(boxes.position()));
        hasIndex = hasIndex || isIndex(*box);
        hasMedia = hasMedia || box->type == boxType("mdat");
    }
    return std::nullopt;
}

Problem riffProblem(const ByteSource& source)
{
    const auto head = source.read(0, std::size_t{12});
    ByteReader header{head};
    const std::string_view magic = header.text(4);
    header.skip(4);
    const std::string_view form = header.text(4);
    if (magic == "RF64" || magic == "BW64") // their sizes stand elsewhere
        return std::nullopt;
    if (header.failed() || (magic != "RIFF" && magic != "RIFX"))
        return invalidStructure("RIFF: no header");
    const ByteOrder order = magic == "RIFX" ? ByteOrder::big : ByteOrder::little;
    if (form == "WAVE")
        return waveProblem(source, order);
    // Picture decoders insist on the last byte, but for the padding.
    return outerProblem(source, order, form == "WEBP" ? 1 : sizeTolerance);
}

Problem StructuralCheck::problem(const std::filesystem::path& url, const FormatID& format, std::int64_t size)
{
    if (size < 1)
        return std::nullopt;
    const auto source = FileSource::open(url);
    return source ? problem(*source, format) : std::nullopt;
}

Problem StructuralCheck::problem(const ByteSource& source, const FormatID& format)
{
    if (source.size() == 0)
        return std::nullopt;
    for (const EndMarker& each : endMarkers)
        if (format == each.format)
            return missingEnd(source, each);
    const std::string word = " " + format.rawValue + " ";
    for (const Walk& each : walks)
        if (each.formats.find(word) != each.formats.npos)
            return each.problem(source);
    return std::nullopt;
}

} // namespace nivex
