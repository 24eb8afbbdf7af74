#include "NivexKit/Archive/Deflate.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace nivex {
namespace {

// The usual balance; higher levels take several times as long for one or two per cent.
constexpr int compressionLevel = 6;

// The densest DEFLATE stream spends two bits on a match of 258 bytes.
constexpr std::uint64_t maxExpansion = 1'032;

template <auto release>
struct Release {
    template <class Handle>
    void operator()(Handle* handle) const
    {
        release(handle);
    }
};

ConversionError unavailable() { return ConversionError::encodingFailed("compression indisponible"_fr); }

/// The handle, or the error for a library that could not provide it.
template <class Handle>
Handle opened(Handle handle)
{
    if (!handle)
        throw unavailable();
    return handle;
}

using Buffer = std::vector<std::byte>;

std::optional<Buffer> encoded(std::span<const std::byte> data, std::uint64_t maxSize)
{
    const auto compressor = opened(std::unique_ptr<libdeflate_compressor, Release<libdeflate_free_compressor>>{
        libdeflate_alloc_compressor(compressionLevel)});
    const std::uint64_t bound = libdeflate_deflate_compress_bound(compressor.get(), data.size());
    Buffer output(static_cast<std::size_t>(std::min(bound, maxSize)));
    const std::size_t size =
        libdeflate_deflate_compress(compressor.get(), data.data(), data.size(), output.data(), output.size());
    if (size == 0)
        return std::nullopt;
    output.resize(size);
    return output;
}

std::optional<Buffer> decoded(std::span<const std::byte> data, std::uint64_t maxSize)
{
    const auto decompressor = opened(std::unique_ptr<libdeflate_decompressor, Release<libdeflate_free_decompressor>>{
        libdeflate_alloc_decompressor()});
    // A few bytes that announce half a gigabyte get no more memory than they can fill.
    const std::uint64_t fillable = (data.size() + 1) * maxExpansion;
    Buffer output(static_cast<std::size_t>(std::min(maxSize, fillable)));
    std::size_t size = 0;
    switch (libdeflate_deflate_decompress(decompressor.get(), data.data(), data.size(), output.data(), output.size(),
                                          &size)) {
    case LIBDEFLATE_SUCCESS:
        output.resize(size);
        return output;
    case LIBDEFLATE_INSUFFICIENT_SPACE:
        return std::nullopt;
    default:
        throw ConversionError::unreadableSource("données compressées invalides"_fr).because("DEFLATE: invalid stream");
    }
}

/// The argument by which zlib's decoder chooses the wrapping.
int windowBits(Deflate::Wrapping wrapping)
{
    switch (wrapping) {
    case Deflate::Wrapping::zlib:
        return MAX_WBITS;
    case Deflate::Wrapping::gzip:
        return MAX_WBITS + 16;
    default:
        return -MAX_WBITS;
    }
}

} // namespace

std::vector<std::byte> Deflate::decompress(std::span<const std::byte> data, std::uint64_t expectedSize)
{
    auto output = process(Direction::decode, data, expectedSize);
    if (!output)
        throw ConversionError::unreadableSource("données compressées plus grandes qu'annoncé"_fr)
            .because("DEFLATE: more than " + std::to_string(expectedSize) + " bytes");
    return *std::move(output);
}

std::optional<std::vector<std::byte>> Deflate::process(Direction direction, std::span<const std::byte> data,
                                                       std::uint64_t maxSize)
{
    return direction == Direction::encode ? encoded(data, maxSize) : decoded(data, maxSize);
}

std::vector<std::byte> Deflate::inflatePrefix(std::span<const std::byte> data, std::size_t maxOutput, Wrapping wrapping)
{
    constexpr std::size_t longest = std::numeric_limits<uInt>::max();
    data = data.first(std::min(data.size(), longest));
    z_stream stream{};
    if (inflateInit2(&stream, windowBits(wrapping)) != Z_OK)
        throw unavailable();
    const std::unique_ptr<z_stream, Release<inflateEnd>> ended{&stream};
    Buffer output(std::min(maxOutput, longest));
    // The library reads its input but has no type for that.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    inflate(&stream, Z_SYNC_FLUSH);
    output.resize(output.size() - stream.avail_out);
    return output;
}

} // namespace nivex
