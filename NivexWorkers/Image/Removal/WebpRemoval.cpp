// Metadata out of WebP (RFC 9649, section 2): chunks go, are replaced or stay. None is found by its distance from
// another.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/RiffChunks.hpp"

#include <algorithm>
#include <iterator>

namespace nivex::image {
namespace {

constexpr std::uint64_t headBytes = 12;         // "RIFF", size, "WEBP"
constexpr std::uint64_t bytesBeforeChunks = 8;  // which the size leaves out
constexpr std::byte metadataFlags{0x04 | 0x08}; // XMP, Exif
constexpr std::byte exifFlag{0x08};
constexpr std::size_t mostChunks = 1'000'000;

/// The chunks in the space that the head announces.
std::vector<RiffChunk> announcedChunks(const ByteSource& file)
{
    const auto head = file.read(4, 4);
    const std::uint64_t end = bytesBeforeChunks + ByteReader{head}.u32();
    std::vector<RiffChunk> found;
    RiffChunks chunks{file, headBytes};
    while (chunks.position() < end) {
        const auto chunk = chunks.next();
        if (!chunk || !chunk->isWholeIn(file) || found.size() == mostChunks)
            throw damaged("WebP: chunks");
        found.push_back(*chunk);
    }
    if (found.empty())
        throw damaged("WebP: chunks");
    return found;
}

bool shapesPicture(std::string_view name)
{
    constexpr std::string_view shaping[] = {"VP8 ", "VP8L", "VP8X", "ALPH", "ANIM", "ANMF", "ICCP"};
    return std::ranges::find(shaping, name) != std::end(shaping);
}

void addChunk(FilePieces& pieces, std::string_view name, std::string_view data)
{
    ByteWriter head{ByteOrder::little};
    head.text(name).u32(static_cast<std::uint32_t>(data.size()));
    pieces.add(head.view());
    pieces.add(data);
    if (data.size() % 2 == 1)
        pieces.add(std::string_view{"", 1});
}

std::vector<std::byte> dataOf(const ByteSource& file, const RiffChunk& chunk)
{
    if (chunk.size > mostBlockBytes)
        throw damaged("WebP: chunks");
    return file.read(chunk.data(), chunk.size);
}

/// In some files the block has what JPEG puts in front of it.
std::vector<std::byte> exifChunkWithoutPosition(std::vector<std::byte> data)
{
    constexpr std::string_view lead{"Exif\0\0", 6};
    if (!asText(data).starts_with(lead))
        return exifWithoutPosition(std::move(data));
    const auto block = exifWithoutPosition({data.begin() + lead.size(), data.end()});
    std::ranges::copy(block, data.begin() + lead.size());
    return data;
}

class Removal {
public:
    Removal(const ByteSource& file, MetadataPolicy policy) : file_{file}, policy_{policy} {}

    FilePieces pieces()
    {
        const std::vector<RiffChunk> chunks = announcedChunks(file_);
        const auto exif = std::ranges::find(chunks, "EXIF", &RiffChunk::id);
        const auto orientation = exif == chunks.end() || policy_ == MetadataPolicy::removeLocation
                                     ? std::vector<std::byte>{}
                                     : onlyOrientation(dataOf(file_, *exif));
        FilePieces body;
        for (const RiffChunk& each : chunks)
            if (each.id == "VP8X" && policy_ == MetadataPolicy::removeAll)
                addHeader(body, each, !orientation.empty());
            else
                add(body, each);
        if (!orientation.empty())
            addChunk(body, "EXIF", asText(orientation));

        ByteWriter head{ByteOrder::little};
        head.text("RIFF").u32(static_cast<std::uint32_t>(body.size() + 4)).text("WEBP");
        FilePieces whole;
        whole.add(head.view());
        whole.append(body);
        return whole;
    }

private:
    void addHeader(FilePieces& pieces, const RiffChunk& chunk, bool hasExif) const
    {
        auto data = dataOf(file_, chunk);
        if (data.empty())
            throw damaged("WebP: chunks");
        data.front() = (data.front() & ~metadataFlags) | (hasExif ? exifFlag : std::byte{});
        addChunk(pieces, chunk.id, asText(data));
    }

    void add(FilePieces& pieces, const RiffChunk& chunk) const
    {
        if (policy_ == MetadataPolicy::removeAll ? !shapesPicture(chunk.id) : isManifestChunk(chunk.id))
            return;
        if (chunk.id == "EXIF")
            return addChunk(pieces, chunk.id, asText(exifChunkWithoutPosition(dataOf(file_, chunk))));
        if (chunk.id == "XMP ")
            return addChunk(pieces, chunk.id, xmpWithoutPosition(asText(dataOf(file_, chunk))));
        pieces.copy(chunk.offset, chunk.data() + chunk.size - chunk.offset);
        pieces.zeros(chunk.size % 2);
    }

    const ByteSource& file_;
    MetadataPolicy policy_;
};

} // namespace

FilePieces webpWithoutMetadata(const ByteSource& file, MetadataPolicy policy) { return Removal{file, policy}.pieces(); }

} // namespace nivex::image
