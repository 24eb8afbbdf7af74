// Two libraries: ISA-L halves the time of photographs, libdeflate makes drawings smaller in less time than zlib.
#include "NivexWorkers/Image/Codecs/Deflate/DeflatedPixels.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <memory>

namespace nivex::image {
namespace {

using Bytes = std::span<const std::byte>;

constexpr int thoroughLevel = 6; // of libdeflate: as small as zlib at its 6, in less than half the time
/// How much smaller a sample must become for what it is of to be worth the effort.
constexpr std::size_t repeatingSamples = 3;
constexpr std::size_t repeatingDifferences = 8;

void require(bool condition)
{
    if (!condition)
        throw ConversionError::encodingFailed("la compression a échoué"_fr);
}

std::uint8_t* mutableBytes(std::byte* bytes) { return reinterpret_cast<std::uint8_t*>(bytes); }

/// ISA-L reads only.
std::uint8_t* input(Bytes bytes)
{
    return const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

/// By ISA-L, at a level of which `bufferBytes` are the working memory; ends like a part.
std::vector<std::byte> quicklyDeflated(Bytes pixels, std::uint32_t level, std::uint32_t bufferBytes)
{
    const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(bufferBytes);
    const auto stream = std::make_unique<isal_zstream>(); // of 80 KB
    isal_deflate_init(stream.get());
    stream->level = level;
    stream->level_buf = buffer.get();
    stream->level_buf_size = bufferBytes;
    stream->flush = FULL_FLUSH;
    stream->gzip_flag = IGZIP_DEFLATE;
    stream->next_in = input(pixels);
    stream->avail_in = static_cast<std::uint32_t>(pixels.size());

    std::vector<std::byte> part(pixels.size() + pixels.size() / 64 + 1024);
    stream->next_out = mutableBytes(part.data());
    stream->avail_out = static_cast<std::uint32_t>(part.size());
    require(isal_deflate(stream.get()) == COMP_OK && stream->avail_in == 0 && stream->avail_out > 0);
    part.resize(stream->total_out);
    return part;
}

/// Judged by some places all over them.
bool isRepeating(Bytes pixels, StripContents contents)
{
    constexpr std::size_t places = 8;
    constexpr std::size_t bytesOfPlace = 8 * 1024;
    std::vector<std::byte> sample;
    for (std::size_t place = 0; place < places; ++place) {
        const Bytes part = pixels.subspan(place * pixels.size() / places);
        const std::size_t count = std::min(bytesOfPlace, pixels.size() / places);
        sample.insert(sample.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
    }
    const std::size_t times = contents == StripContents::samples ? repeatingSamples : repeatingDifferences;
    return deflatedSize(sample) * times < sample.size();
}

struct CompressorRelease {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};
using Compressor = std::unique_ptr<libdeflate_compressor, CompressorRelease>;

Compressor thoroughCompressor()
{
    Compressor compressor{libdeflate_alloc_compressor(thoroughLevel)};
    require(compressor != nullptr);
    return compressor;
}

/// Where the last block of a raw stream stands, in bits.
struct LastBlock {
    std::size_t begin = 0;
    std::size_t end = 0;
};

/// zlib's decoder stops at the end of each block.
LastBlock lastBlock(Bytes stream)
{
    constexpr int isBetweenBlocks = 128;
    constexpr int isBehindLast = 64;
    constexpr int unusedBits = 7;

    z_stream decoder{};
    require(inflateInit2(&decoder, -MAX_WBITS) == Z_OK);
    const std::unique_ptr<z_stream, decltype(&inflateEnd)> owner{&decoder, &inflateEnd};
    std::vector<std::byte> decoded(64 * 1024);
    decoder.next_in = input(stream);
    decoder.avail_in = static_cast<uInt>(stream.size());
    LastBlock block;
    for (;;) {
        decoder.next_out = mutableBytes(decoded.data());
        decoder.avail_out = static_cast<uInt>(decoded.size());
        require(inflate(&decoder, Z_BLOCK) == Z_OK);
        if ((decoder.data_type & isBetweenBlocks) == 0)
            continue;
        const std::size_t position = decoder.total_in * 8 - static_cast<std::size_t>(decoder.data_type & unusedBits);
        if ((decoder.data_type & isBehindLast) != 0) {
            block.end = position;
            return block;
        }
        block.begin = position;
    }
}

/// Takes the mark of the last block from a whole raw stream and puts an empty stored block behind it, which ends with a
/// whole byte (RFC 1951, 3.2.3 and 3.2.4).
void makePart(std::vector<std::byte>& stream)
{
    constexpr std::size_t headerBits = 3;
    const LastBlock last = lastBlock(stream);
    stream[last.begin / 8] &= ~(std::byte{1} << (last.begin % 8));
    stream.resize((last.end + headerBits + 7) / 8);
    for (const unsigned length : {0x00U, 0x00U, 0xFFU, 0xFFU})
        stream.push_back(static_cast<std::byte>(length));
}

std::vector<std::byte> thoroughlyDeflated(Bytes pixels)
{
    const Compressor compressor = thoroughCompressor();
    std::vector<std::byte> stream(libdeflate_deflate_compress_bound(compressor.get(), pixels.size()));
    stream.resize(
        libdeflate_deflate_compress(compressor.get(), pixels.data(), pixels.size(), stream.data(), stream.size()));
    require(!stream.empty());
    makePart(stream);
    return stream;
}

} // namespace

std::size_t deflatedSize(Bytes sample) { return quicklyDeflated(sample, 1, ISAL_DEF_LVL1_DEFAULT).size(); }

DeflatedPart deflatedPart(Bytes pixels, StripContents contents)
{
    return {.bytes = isRepeating(pixels, contents) ? thoroughlyDeflated(pixels)
                                                   : quicklyDeflated(pixels, 3, ISAL_DEF_LVL3_DEFAULT),
            .checksum = libdeflate_adler32(1, pixels.data(), pixels.size()),
            .pixelsBytes = pixels.size()};
}

void ZlibStream::add(const DeflatedPart& part)
{
    checksum_ =
        static_cast<std::uint32_t>(adler32_combine(checksum_, part.checksum, static_cast<z_off_t>(part.pixelsBytes)));
}

std::string ZlibStream::end() const
{
    constexpr std::string_view emptyBlock{"\x03\x00", 2};
    ByteWriter end{ByteOrder::big};
    end.text(emptyBlock).u32(checksum_);
    return std::string{end.view()};
}

std::string zlibStream(Bytes pixels, StripContents contents)
{
    const DeflatedPart part = deflatedPart(pixels, contents);
    ZlibStream stream;
    stream.add(part);
    ByteWriter whole{ByteOrder::big};
    whole.text(ZlibStream::head).bytes(part.bytes).text(stream.end());
    return std::string{whole.view()};
}

} // namespace nivex::image
