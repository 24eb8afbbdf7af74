#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

Bytes encoded(const Bytes& data)
{
    return Deflate::process(Deflate::Direction::encode, data, data.size() + 100).value();
}

TEST(CRC32, IsTheChecksumOfZipWholeAndInParts)
{
    EXPECT_EQ(CRC32::checksum({}), 0U);
    EXPECT_EQ(CRC32::checksum(textBytes("123456789")), 0xCBF43926U);
    EXPECT_EQ(CRC32::checksum(textBytes("56789"), CRC32::checksum(textBytes("1234"))), 0xCBF43926U);
    EXPECT_EQ(CRC32::checksum({}, 0xCBF43926U), 0xCBF43926U);
}

TEST(Deflate, DecodesWhatItEncodes)
{
    for (const Bytes& data :
         {Bytes{}, textBytes("a"), repeated('x', 1'000'000), textBytes("no repetition: 0123456789")}) {
        SCOPED_TRACE(data.size());
        EXPECT_EQ(Deflate::decompress(encoded(data), data.size()), data);
        EXPECT_EQ(Deflate::inflatePrefix(encoded(data), data.size()), data);
    }
    EXPECT_EQ(Deflate::process(Deflate::Direction::encode, textBytes("does not shrink"), 14), std::nullopt);
}

TEST(Deflate, ChecksWhatItDecodes)
{
    const auto failure = [](const Bytes& data, std::uint64_t expectedSize) {
        try {
            Deflate::decompress(data, expectedSize);
        } catch (const ConversionError& error) {
            return error.detail();
        }
        return std::string{"none"};
    };
    const Bytes data = encoded(repeated('x', 1'000));
    const std::string larger = "données compressées plus grandes qu'annoncé";
    const std::string invalid = "données compressées invalides";
    struct Case {
        const char* fault;
        Bytes data;
        std::uint64_t expectedSize;
        std::string failure;
    };
    const Case cases[] = {
        {"one byte more than announced", data, 999, larger},
        {"announced as empty", data, 0, larger},
        {"a million times smaller than its output", encoded(repeated(0, 10'000'000)), 10, larger},
        {"as announced", data, 1'000, "none"},
        {"less than announced is left to the checksum", data, 1'001, "none"},
        {"a forged size takes no memory", data, std::uint64_t{1} << 40, "none"},
        {"bytes behind the end", joined({data, bytes("00 00")}), 1'000, "none"},
        {"cut", Bytes(data.begin(), data.end() - 1), 1'000, invalid},
        {"nothing", {}, 1'000, invalid},
        {"a block type that does not exist", bytes("07"), 1'000, invalid},
        {"a distance before the beginning", bytes("4B 04 1A 00 00"), 1'000, invalid},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(failure(each.data, each.expectedSize), each.failure);
    }
}

TEST(Deflate, InflatesTheBeginningOfCutAndEndlessData)
{
    const Bytes data = encoded(repeated('x', 1'000'000));
    EXPECT_EQ(Deflate::inflatePrefix(data, 10), repeated('x', 10));
    EXPECT_LT(Deflate::inflatePrefix(std::span{data}.first(data.size() / 2), 1'000'000).size(), 1'000'000U);
    EXPECT_GT(Deflate::inflatePrefix(std::span{data}.first(data.size() / 2), 1'000'000).size(), 100'000U);
    EXPECT_TRUE(Deflate::inflatePrefix(bytes("07 FF"), 10).empty());
    // The zlib form of "a", and its gzip form without a file name.
    EXPECT_EQ(Deflate::inflatePrefix(bytes("78 9C 4B 04 00 00 62 00 62"), 10, Deflate::Wrapping::zlib), textBytes("a"));
    EXPECT_EQ(Deflate::inflatePrefix(bytes("1F 8B 08 00 00 00 00 00 00 03 4B 04 00"), 10, Deflate::Wrapping::gzip),
              textBytes("a"));
}

} // namespace
} // namespace nivex
