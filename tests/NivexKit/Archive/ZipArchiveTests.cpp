#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/Bytes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <functional>

namespace nivex {
namespace {

using testing::bytes;
using testing::joined;
using testing::repeated;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

std::tm noon()
{
    std::tm moment{};
    moment.tm_year = 2024 - 1900;
    moment.tm_mon = 1;
    moment.tm_mday = 29;
    moment.tm_hour = 12;
    moment.tm_min = 34;
    moment.tm_sec = 57;
    return moment;
}

/// Two entries: "a.txt", stored, and "b/é.txt", a thousand deflated x.
Bytes sampleArchive()
{
    ZipArchive::Writer writer{noon};
    writer.add("a.txt", textBytes("alpha"), true);
    writer.add("b/é.txt", repeated('x', 1'000), true);
    return writer.finish();
}

/// `data` with the bytes at `offset` (from the end when negative) replaced.
Bytes patched(Bytes data, std::ptrdiff_t offset, std::string_view hexadecimal)
{
    const Bytes replacement = bytes(hexadecimal);
    std::copy(replacement.begin(), replacement.end(), (offset < 0 ? data.end() : data.begin()) + offset);
    return data;
}

std::string failureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ConversionError& error) {
        const auto kind = error.kind();
        return (kind == ConversionError::Kind::unreadableSource ? "unreadable: "
                : kind == ConversionError::Kind::unsupported    ? "unsupported: "
                : kind == ConversionError::Kind::resourceLimit  ? "limit: "
                                                                : "other: ") +
               error.detail();
    }
    return "none";
}

// Where things stand in the sample archive.
constexpr std::ptrdiff_t endRecord = -22;
const std::ptrdiff_t firstRecord = endRecord - (46 + 5) - (46 + 8);
const std::ptrdiff_t secondRecord = endRecord - (46 + 8);
constexpr std::ptrdiff_t secondLocal = 30 + 5 + 5;

TEST(ZipArchive, WritesTheFieldsOfTheFormat)
{
    ZipArchive::Writer writer{noon};
    writer.add("a", textBytes("alpha"), true);
    EXPECT_EQ(writer.finish(),
              bytes("50 4B 03 04 14 00 00 08 00 00 5C 64 5D 58 6A 39 E0 D0 05 00 00 00 05 00 00 00 01 00 "
                    "00 00 61 61 6C 70 68 61 "
                    "50 4B 01 02 14 00 14 00 00 08 00 00 5C 64 5D 58 6A 39 E0 D0 05 00 00 00 05 00 00 00 "
                    "01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 61 "
                    "50 4B 05 06 00 00 00 00 01 00 01 00 2F 00 00 00 24 00 00 00 00 00"));
    EXPECT_EQ(ZipArchive::Writer{noon}.finish(), joined({bytes("50 4B 05 06"), repeated(0, 18)}));
}

TEST(ZipArchive, ReadsBackWhatItWrites)
{
    const Bytes archive = sampleArchive();
    const MemorySource source{archive};
    const ZipArchive::Reader reader{source};
    ASSERT_EQ(reader.entries().size(), 2U);
    EXPECT_EQ(reader.entries()[0], (ZipArchive::Entry{"a.txt", 0, 5, 5, 0xD0E0396A, 0, false}));
    EXPECT_EQ(reader.entries()[1].name(), "b/é.txt");
    EXPECT_EQ(reader.entries()[1].method, 8);
    EXPECT_LT(reader.entries()[1].compressedSize, 1'000U);
    EXPECT_EQ(reader.contents(reader.entries()[1]), repeated('x', 1'000));
    EXPECT_EQ(reader.prefix(reader.entries()[1], 3), textBytes("xxx"));
    EXPECT_EQ(reader.prefix(reader.entries()[0], 3), textBytes("alp"));
    EXPECT_EQ(reader.entry("B/é.txt"), nullptr);
}

TEST(ZipArchive, CompressesOnlyWhatShrinks)
{
    struct Case {
        const char* name;
        Bytes data;
        bool compress;
        int method;
    };
    Bytes noise;
    for (std::uint32_t i = 0, state = 1; i < 300; ++i, state = state * 1'664'525 + 1'013'904'223)
        noise.push_back(static_cast<std::byte>(state >> 24));
    const Case cases[] = {{"64 bytes", repeated('x', 64), true, 0},
                          {"65 bytes", repeated('x', 65), true, 8},
                          {"not asked for", repeated('x', 65), false, 0},
                          {"does not shrink", noise, true, 0},
                          {"empty", {}, true, 0}};
    ZipArchive::Writer writer{noon};
    for (const Case& each : cases)
        writer.add(each.name, each.data, each.compress);
    const Bytes archive = writer.finish();
    const MemorySource source{archive};
    const ZipArchive::Reader reader{source};
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(reader.entry(each.name)->method, each.method);
        EXPECT_EQ(reader.contents(*reader.entry(each.name)), each.data);
    }
}

TEST(ZipArchive, AlignsTheData)
{
    ZipArchive::Writer writer{noon};
    for (std::size_t i = 0; i < 130; ++i)
        writer.add(std::string(1 + i, 'n'), repeated('a', i), false, 64);
    const Bytes archive = writer.finish();
    const MemorySource source{archive};
    for (const ZipArchive::Entry& entry : ZipArchive::Reader::centralDirectory(source)) {
        const auto header = std::span{archive}.subspan(entry.localHeaderOffset);
        const std::size_t variable =
            std::to_integer<std::size_t>(header[26]) + std::to_integer<std::size_t>(header[28]);
        EXPECT_EQ((entry.localHeaderOffset + 30 + variable) % 64, 0U) << entry.name().size();
    }
}

TEST(ZipArchive, RefusesWhatDoesNotFitTheFormat)
{
    ZipArchive::Writer writer{noon};
    writer.add("kept", {}, false);
    EXPECT_EQ(failureOf([&] { writer.add(std::string(65'536, 'n'), {}, false); }),
              "limit: nom trop long pour une archive ZIP");
    // Address space only: the size alone decides.
    constexpr std::size_t tooLong = std::size_t{1} << 32;
    void* const region = ::mmap(nullptr, tooLong, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(region, MAP_FAILED);
    EXPECT_EQ(failureOf([&] {
                  writer.add("large", {static_cast<const std::byte*>(region), tooLong}, false);
              }),
              "limit: archive de plus de 4 Go");
    ::munmap(region, tooLong);
    for (int i = 1; i < 65'535; ++i)
        writer.add("", {}, false);
    EXPECT_EQ(failureOf([&] { writer.add("", {}, false); }), "limit: archive de plus de 65 535 fichiers");
}

TEST(ZipArchive, ChecksTheDirectory)
{
    const Bytes good = sampleArchive();
    const Bytes emptyArchive = ZipArchive::Writer{noon}.finish();
    const std::string invalid = "unreadable: répertoire ZIP invalide";
    struct Case {
        const char* fault;
        Bytes archive;
        std::string failure;
    };
    const Case cases[] = {
        {"sound", good, "none"},
        {"21 bytes", repeated(0, 21), "unreadable: archive ZIP trop courte"},
        {"only an end record", emptyArchive, "none"},
        {"no end record", repeated(0, 70'000), "unreadable: archive ZIP sans répertoire"},
        {"the longest comment", joined({good, repeated(' ', 65'535)}), "none"},
        {"end record too far back", joined({good, repeated(' ', 65'536)}), "unreadable: archive ZIP sans répertoire"},
        {"a comment that holds another end record", joined({good, emptyArchive}), "none"},
        {"a second end record without its directory", joined({good, bytes("50 4B 05 06"), repeated('x', 18)}), invalid},
        {"65,535 entries", patched(good, endRecord + 10, "FF FF"), "unsupported: archive de plus de 4 Go"},
        {"directory offset elsewhere", patched(good, endRecord + 16, "FF FF FF FF"),
         "unsupported: archive de plus de 4 Go"},
        {"20,001 entries", patched(good, endRecord + 10, "21 4E"), invalid},
        {"one entry more than there are", patched(good, endRecord + 10, "03 00"), invalid},
        {"directory beyond the end record", patched(good, endRecord + 12, "FF FF 00 00"), invalid},
        {"directory size that wraps around", patched(good, endRecord + 12, "FF FF FF FF FE FF FF FF"), invalid},
        {"directory offset one too far", patched(good, endRecord + 16, "F0"), invalid},
        {"wrong record signature", patched(good, secondRecord, "00"), invalid},
        {"name beyond the directory", patched(good, secondRecord + 28, "09"), "unreadable: nom ZIP tronqué"},
        {"extra field of the last record beyond the directory", patched(good, secondRecord + 30, "FF FF"), "none"},
        {"extra field of the first record beyond the directory", patched(good, firstRecord + 30, "FF FF"), invalid},
        {"one encrypted entry", patched(good, secondRecord + 8, "01"), "unsupported: archive ZIP chiffrée"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_EQ(failureOf([&] { ZipArchive::Reader::centralDirectory(MemorySource{each.archive}); }), each.failure);
    }
    const Bytes encrypted = patched(good, secondRecord + 8, "01");
    const auto listed =
        ZipArchive::Reader::centralDirectory(MemorySource{encrypted}, ZipArchive::Reader::Purpose::listing);
    EXPECT_TRUE(!listed[0].isEncrypted && listed[1].isEncrypted);
}

TEST(ZipArchive, ChecksAnEntryThatItReads)
{
    const Bytes good = sampleArchive();
    const std::string damaged = "unreadable: archive ZIP endommagée";
    const std::string checksum = damaged + " (somme de contrôle)";
    struct Case {
        const char* fault;
        Bytes archive;
        std::string failure;
    };
    const Case cases[] = {
        {"sound", good, "none"},
        {"over the limit", patched(good, secondRecord + 24, "D1 07"),
         "limit: « b/é.txt » trop volumineux une fois décompressé"},
        {"announces exactly the limit", patched(good, secondRecord + 24, "D0 07"), "none"},
        {"compressed data far over the limit, and beyond the end", patched(good, secondRecord + 20, "FF FF FF FF"),
         "unreadable: archive ZIP tronquée"},
        {"no local header there", patched(good, secondLocal, "00"), damaged},
        {"local header beyond the end", patched(good, secondRecord + 42, "FF FF FF 00"), damaged},
        {"data beyond the end", patched(good, secondRecord + 20, "00 08"), "unreadable: archive ZIP tronquée"},
        {"local name beyond the end", patched(good, secondLocal + 26, "FF FF"), "unreadable: archive ZIP tronquée"},
        {"local sizes do not count", patched(good, secondLocal + 18, "00 00 00 00 00 00 00 00"), "none"},
        {"method 12", patched(good, secondRecord + 10, "0C"), "unsupported: méthode de compression ZIP 12"},
        {"one byte more than announced", patched(good, secondRecord + 24, "E7 03"),
         "unreadable: données compressées plus grandes qu'annoncé"},
        {"one byte less than announced", patched(good, secondRecord + 24, "E9 03"), "none"},
        {"wrong checksum", patched(good, secondRecord + 16, "00"), checksum},
        {"said to be stored", patched(good, secondRecord + 10, "00"), checksum},
    };
    ResourceLimits limits;
    limits.maxUnzippedEntryBytes = 2'000;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        const MemorySource source{each.archive};
        const ZipArchive::Reader reader{source, limits};
        EXPECT_EQ(failureOf([&] { reader.contents(reader.entries()[1]); }), each.failure);
    }
}

TEST(ZipArchive, HoldsNoMoreCompressedDataThanTwiceTheLimit)
{
    ZipArchive::Writer writer{noon};
    writer.add("a", repeated('a', 5'000), false);
    const Bytes archive = writer.finish();
    const std::ptrdiff_t record = endRecord - (46 + 1);
    ResourceLimits limits;
    limits.maxUnzippedEntryBytes = 2'000;
    const auto failureWith = [&](std::string_view compressedSize) {
        const Bytes changed = patched(patched(archive, record + 24, "D0 07 00 00"), record + 20, compressedSize);
        const MemorySource source{changed};
        const ZipArchive::Reader reader{source, limits};
        return failureOf([&] { reader.contents(reader.entries()[0]); });
    };
    EXPECT_EQ(failureWith("A1 0F 00 00"), "unreadable: archive ZIP endommagée (somme de contrôle)");
    EXPECT_EQ(failureWith("A2 0F 00 00"), "limit: « a » trop volumineux une fois décompressé");
}

TEST(ZipArchive, TakesNamesAsTheyAre)
{
    ZipArchive::Writer writer{noon};
    for (const char* name : {"../up", "/root", "a\\b", "twice", "twice", "bad \xFF name", ""})
        writer.add(name, textBytes(name), false);
    const Bytes archive = writer.finish();
    const MemorySource source{archive};
    const ZipArchive::Reader reader{source};
    std::vector<std::string> names;
    for (const ZipArchive::Entry& entry : reader.entries())
        names.push_back(entry.name());
    EXPECT_THAT(names, ::testing::ElementsAre("../up", "/root", "a\\b", "twice", "twice", "bad \xEF\xBF\xBD name", ""));
    EXPECT_EQ(reader.entry("twice"), &reader.entries()[3]);
}

TEST(ZipArchive, PassesOverBytesInFront)
{
    const Bytes archive = joined({repeated('x', 7), sampleArchive()});
    const MemorySource source{archive};
    const ZipArchive::Reader reader{source};
    EXPECT_EQ(failureOf([&] { reader.contents(reader.entries()[1]); }), "none");
    EXPECT_EQ(failureOf([&] {
                  ZipArchive::Reader::centralDirectory(MemorySource{joined({archive, archive})});
              }),
              "none")
        << "another archive in front";
}

TEST(ZipArchive, ListsWhatTheExtensionOf64BitsTells)
{
    const Bytes good = sampleArchive();
    const auto number = [](std::uint64_t value) {
        Bytes result;
        for (int shift = 0; shift < 64; shift += 8)
            result.push_back(static_cast<std::byte>(value >> shift));
        return result;
    };
    // Moves the size and the place of the second entry into its extra field, and what the end record says before it.
    Bytes moved = patched(good, secondRecord + 24, "FF FF FF FF");
    moved = patched(patched(moved, secondRecord + 42, "FF FF FF FF"), secondRecord + 30, "14 00");
    moved.erase(moved.end() - 22, moved.end());
    const std::size_t directory = good.size() - static_cast<std::size_t>(-firstRecord);
    const Bytes records = joined({moved, bytes("01 00 10 00"), number(1'000), number(secondLocal)});
    const Bytes wide = joined({records, bytes("50 4B 06 06"), number(44), bytes("2D 00 2D 00 00 00 00 00 00 00 00 00"),
                               number(2), number(2), number(records.size() - directory), number(directory),
                               bytes("50 4B 06 07 00 00 00 00"), number(records.size()), bytes("01 00 00 00"),
                               bytes("50 4B 05 06 00 00 00 00 FF FF FF FF FF FF FF FF FF FF FF FF 00 00")});
    const auto listed = [](const Bytes& archive) {
        return ZipArchive::Reader::centralDirectory(MemorySource{archive}, ZipArchive::Reader::Purpose::listing);
    };
    const auto entries = listed(wide);
    EXPECT_EQ(entries.at(1).uncompressedSize, 1'000U);
    EXPECT_EQ(entries.at(1).localHeaderOffset, secondLocal);
    EXPECT_EQ(failureOf([&] { ZipArchive::Reader{MemorySource{wide}}; }), "unsupported: archive de plus de 4 Go");
    EXPECT_EQ(failureOf([&] { listed(patched(good, endRecord + 10, "FF FF")); }),
              "unreadable: répertoire ZIP invalide");
}

/// A source that counts what is read of it.
class CountingSource : public ByteSource {
public:
    explicit CountingSource(Bytes end, std::uint64_t size) : end_{std::move(end)}, size_{size} {}

    std::uint64_t size() const override { return size_; }
    std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const override
    {
        bytesRead += buffer.size();
        const std::uint64_t begin = size_ - end_.size();
        EXPECT_GE(offset, begin - 70'000);
        for (std::size_t i = 0; i < buffer.size(); ++i)
            buffer[i] = offset + i < begin ? std::byte{} : end_[static_cast<std::size_t>(offset + i - begin)];
        return buffer.size();
    }

    mutable std::uint64_t bytesRead = 0;

private:
    Bytes end_;
    std::uint64_t size_;
};

TEST(ZipArchive, ListsALargeArchiveFromItsEnd)
{
    const Bytes sample = sampleArchive();
    Bytes end{sample.end() + firstRecord, sample.end()};
    const std::uint64_t size = 4'294'000'000;
    const auto offset = static_cast<std::uint32_t>(size - end.size());
    for (std::size_t i = 0; i < 4; ++i)
        end[end.size() - 6 + i] = static_cast<std::byte>(offset >> (8 * i));
    const CountingSource source{end, size};
    EXPECT_EQ(ZipArchive::Reader::centralDirectory(source).size(), 2U);
    EXPECT_LT(source.bytesRead, 70'000U);
}

} // namespace
} // namespace nivex
