#include "NivexWorkers/Image/Codecs/Deflate/DeflatedPixels.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

namespace nivex::image {
namespace {

using Bytes = std::vector<std::byte>;

/// Words in no order, which repeat: they are compressed thoroughly.
Bytes drawing(std::size_t count, unsigned seed)
{
    std::minstd_rand random{seed};
    std::string text;
    while (text.size() < count)
        text += std::string{"line "} + std::to_string(random() % 50) + std::string(random() % 40, ' ');
    const auto bytes = std::as_bytes(std::span{text}).first(count);
    return {bytes.begin(), bytes.end()};
}

Bytes noise(std::size_t count, unsigned seed)
{
    std::minstd_rand random{seed};
    Bytes bytes(count);
    for (std::byte& each : bytes)
        each = static_cast<std::byte>(random() % 97);
    return bytes;
}

/// What another library makes of the parts as one stream; empty when its checksum is wrong.
Bytes decoded(const std::vector<Bytes>& strips, std::size_t size)
{
    ZlibStream stream;
    std::string whole{ZlibStream::head};
    for (const Bytes& strip : strips) {
        const DeflatedPart part = deflatedPart(strip);
        stream.add(part);
        whole.append(reinterpret_cast<const char*>(part.bytes.data()), part.bytes.size());
    }
    whole += stream.end();
    Bytes bytes(size);
    uLongf count = size;
    const int result = uncompress(reinterpret_cast<Bytef*>(bytes.data()), &count,
                                  reinterpret_cast<const Bytef*>(whole.data()), whole.size());
    return result == Z_OK && count == size ? bytes : Bytes{};
}

TEST(DeflatedPixels, PartsOfEveryKindAndLengthAreOneStream)
{
    // Thorough streams end at any bit of a byte, after one block or several.
    for (unsigned seed = 0; seed < 16; ++seed) {
        SCOPED_TRACE(seed);
        const std::vector<Bytes> strips{
            drawing(1 + seed * 37, seed), noise(3'000 + seed, seed), drawing(300'000, seed),
            drawing(seed, seed),          noise(seed, seed),         drawing(40'000 + seed, seed)};
        Bytes expected;
        for (const Bytes& strip : strips)
            expected.insert(expected.end(), strip.begin(), strip.end());
        EXPECT_EQ(decoded(strips, expected.size()), expected);
    }
}

TEST(DeflatedPixels, RepetitionsAreLookedForWhereThereAreAny)
{
    const Bytes page = drawing(1 << 20, 1);
    const auto quick = deflatedSize(page);
    EXPECT_LT(deflatedPart(page).bytes.size(), quick - quick / 10);
    const Bytes photograph = noise(1 << 20, 1);
    EXPECT_LT(deflatedPart(photograph).bytes.size(), photograph.size() * 7 / 8);
}

} // namespace
} // namespace nivex::image
