#include "NivexKit/Detection/Containers/StructuralCheck.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>
#include <string_view>

namespace nivex {
namespace {

using Problem = std::optional<std::string>;

// Both walks stop here and call the file sound: a fragmented film of several hours has more boxes than are worth the
// time.
constexpr int maxSteps = 4'096;

/// The end marker that a whole file has within its last bytes.
struct EndMarker {
    std::string_view format;
    std::string_view marker;
    std::uint64_t window;
    Text problem;
};

// clang-format off
constexpr EndMarker endMarkers[] = {
    {"png",  "IEND",     4'096, "fichier tronqué (fin PNG absente)"_fr},
    {"jpeg", "\xFF\xD9", 4'096, "fichier tronqué (fin JPEG absente)"_fr},
    {"gif",  ";",           64, "fichier tronqué (fin GIF absente)"_fr},
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

void skipSubBlocks(ByteReader& reader)
{
    while (const std::uint8_t size = reader.u8())
        reader.skip(size);
}

void skipColours(ByteReader& reader, std::uint8_t flags)
{
    if ((flags & 0x80) != 0)
        reader.skip(std::size_t{3} << ((flags & 7) + 1));
}

/// The byte that ends a GIF is frequent inside it too, so the blocks of a small file are followed to see whether they
/// end. A file too short to have any is not judged.
bool gifBlocksAreCut(const ByteSource& source)
{
    constexpr std::uint64_t smallFile = 512 << 10;
    constexpr std::uint8_t image = 0x2C;
    constexpr std::uint8_t extension = 0x21;
    if (source.size() > smallFile)
        return false;
    const auto bytes = source.read(0, static_cast<std::size_t>(source.size()));
    ByteReader reader{bytes};
    reader.skip(10);
    const std::uint8_t screenFlags = reader.u8();
    reader.skip(2);
    skipColours(reader, screenFlags);
    if (reader.failed())
        return false;
    while (!reader.failed()) {
        const std::uint8_t block = reader.u8();
        if (block == image) {
            reader.skip(8);
            skipColours(reader, reader.u8());
        } else if (block != extension) {
            break; // the end, or anything behind it
        }
        reader.skip(1);
        skipSubBlocks(reader);
    }
    return reader.failed();
}

Problem missingEnd(const ByteSource& source, const EndMarker& end)
{
    const std::uint64_t window = std::min(source.size(), end.window);
    const auto tail = source.read(source.size() - window, static_cast<std::size_t>(window));
    const std::string_view text{reinterpret_cast<const char*>(tail.data()), tail.size()};
    if (text.find(end.marker) != text.npos && (end.format != "gif" || !gifBlocksAreCut(source)))
        return std::nullopt;
    return end.problem.localized();
}

/// What identifies a box or a chunk: four characters, "ftyp".
using Code = std::string;

bool isIndex(const IsoBox& box)
{
    return box.type == boxType("moov") || box.type == boxType("moof") || box.type == boxType("meta");
}

Text cutFile() { return "fichier tronqué"_fr; }
Text invalidStructure() { return "structure de fichier invalide"_fr; }

// A size may be wrong by as much as the header that careless programs count twice.
constexpr std::uint64_t sizeTolerance = 8;

struct Chunk {
    Code id;
    std::uint64_t size = 0; // without the header
};

std::optional<Chunk> chunkAt(const ByteSource& source, std::uint64_t offset, ByteOrder order)
{
    const auto bytes = source.read(offset, std::size_t{8});
    ByteReader header{bytes, order};
    Chunk chunk;
    chunk.id = header.text(4);
    chunk.size = header.u32();
    return header.failed() ? std::nullopt : std::optional{chunk};
}

bool isOpenEnded(const Chunk& chunk) { return chunk.size == 0 || chunk.size == 0xFFFFFFFF; }

bool reachesBeyond(const ByteSource& source, std::uint64_t offset, const Chunk& chunk, std::uint64_t tolerance)
{
    return chunk.size > source.size() - offset - 8 + tolerance;
}

/// The samples of a sound file must be there; what follows them need not.
Problem waveProblem(const ByteSource& source, ByteOrder order)
{
    std::uint64_t offset = 12;
    for (int step = 0; step < maxSteps; ++step) {
        const auto chunk = chunkAt(source, offset, order);
        if (!chunk)
            return invalidStructure();
        if (!isOpenEnded(*chunk) && reachesBeyond(source, offset, *chunk, sizeTolerance))
            return invalidStructure();
        if (chunk->id == "data")
            return std::nullopt;
        offset += 8 + chunk->size + chunk->size % 2;
    }
    return std::nullopt;
}

/// The whole of a picture or a film must be there. A long film is several RIFF chunks, one behind the other.
Problem outerProblem(const ByteSource& source, ByteOrder order, std::uint64_t tolerance)
{
    std::uint64_t offset = 0;
    for (int step = 0; step < maxSteps; ++step) {
        const auto chunk = chunkAt(source, offset, order);
        if (!chunk || (chunk->id != "RIFF" && chunk->id != "RIFX") || isOpenEnded(*chunk))
            return std::nullopt;
        if (reachesBeyond(source, offset, *chunk, tolerance))
            return invalidStructure();
        offset += 8 + chunk->size + chunk->size % 2;
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
            return isNeeded || !hasIndex ? Problem{cutFile()} : std::nullopt;
        }
        if (!box && (hasIndex || (boxes.position() == source.size() && !hasMedia)))
            return std::nullopt;
        if (!box)
            return boxes.reachedEnd() ? Problem{cutFile()} : Problem{invalidStructure()};
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
        return invalidStructure();
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
