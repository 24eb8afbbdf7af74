#include "tests/NivexKit/Detection/Containers/ContainerCases.hpp"

#include <algorithm>

namespace nivex {
namespace {

using testing::bytes;
using testing::expectFindings;
using testing::joined;
using testing::littleEndian;
using testing::repeated;
using testing::sniffed;
using Bytes = std::vector<std::byte>;

struct Entry {
    std::string name;
    Bytes stream = {}; // 4,096 bytes or more, or left out
    bool isEmbedded = false;
};

Bytes directoryEntry(const Entry& entry, std::uint32_t right, std::uint32_t child, std::uint32_t firstSector,
                     const Bytes& classID)
{
    Bytes name;
    for (const char each : entry.name)
        name.insert(name.end(), {static_cast<std::byte>(each), std::byte{0}});
    name.resize(64);
    return joined({name, littleEndian(2 * entry.name.size() + 2, 2), bytes("01 01"), littleEndian(0xFFFFFFFF, 4),
                   littleEndian(right, 4), littleEndian(child, 4), classID, repeated(0, 20),
                   littleEndian(firstSector, 4), littleEndian(entry.stream.size(), 4), repeated(0, 4)});
}

/// A compound file: the table in sector 0, the directory from sector 1 on, then the streams. What lies at the top forms
/// one chain; all that is embedded lies in the last of the top.
Bytes compoundFile(const std::vector<Entry>& entries, const Bytes& classID = repeated(0, 16))
{
    constexpr std::uint32_t none = 0xFFFFFFFF;
    const std::size_t directorySectors = (entries.size() + 1 + 3) / 4;
    std::uint32_t nextSector = 1 + static_cast<std::uint32_t>(directorySectors);
    Bytes directory = directoryEntry({"Root Entry"}, none, 1, 0, classID);
    Bytes streams;
    for (std::uint32_t i = 0; i < entries.size(); ++i) {
        const bool isLast = i + 1 == entries.size();
        const bool nextIsEmbedded = !isLast && entries[i + 1].isEmbedded && !entries[i].isEmbedded;
        const Bytes entry = directoryEntry(entries[i], isLast || nextIsEmbedded ? none : i + 2,
                                           nextIsEmbedded ? i + 2 : none, nextSector, repeated(0, 16));
        directory.insert(directory.end(), entry.begin(), entry.end());
        streams.insert(streams.end(), entries[i].stream.begin(), entries[i].stream.end());
        nextSector += static_cast<std::uint32_t>(entries[i].stream.size() / 512);
    }
    directory.resize(directorySectors * 512);
    Bytes table = littleEndian(0xFFFFFFFD, 4);
    for (std::uint32_t sector = 1; sector <= directorySectors; ++sector) {
        const Bytes next = littleEndian(sector == directorySectors ? 0xFFFFFFFE : sector + 1, 4);
        table.insert(table.end(), next.begin(), next.end());
    }
    table.resize(512);
    return joined({bytes("D0 CF 11 E0 A1 B1 1A E1"), repeated(0, 16), bytes("3E 00 03 00 FE FF 09 00 06 00"),
                   repeated(0, 10), littleEndian(1, 4), littleEndian(1, 4), repeated(0, 24), littleEndian(0, 4),
                   repeated(0xFF, 432), table, directory, streams});
}

Bytes stream(std::string_view hexadecimal)
{
    Bytes content = bytes(hexadecimal);
    content.resize(4'096);
    return content;
}

TEST(Ole2Contents, TellsTheProgramsApart)
{
    const Bytes plainText = stream("EC A5 C1 00 00 00 00 00 00 00 00 02");
    const Bytes lockedText = stream("EC A5 C1 00 00 00 00 00 00 00 00 03");
    const Bytes plainBook = stream("09 08 04 00 00 06 05 00 E1 00 02 00 B0 04");
    const Bytes lockedBook = stream("09 08 04 00 00 06 05 00 2F 00 02 00 00 00");
    const Bytes shortDirectory = compoundFile({{"a"}, {"b"}, {"WordDocument"}});
    Bytes looped = compoundFile({{"a"}, {"b"}, {"c"}, {"d"}});
    looped[512 + 8] = std::byte{1}; // the second directory sector is followed by the first
    Bytes crossed = compoundFile({{"a"}, {"WordDocument"}});
    crossed[1'024 + 128 + 72] = std::byte{1}; // an entry that is its own neighbour
    expectFindings(
        sniffed(ContainerKind::ole2),
        {
            {"text", compoundFile({{"1Table"}, {"WordDocument", plainText}}), "doc"},
            {"text without sectors of its own", shortDirectory, "doc"},
            {"encrypted text", compoundFile({{"WordDocument", lockedText}}), "doc encrypted"},
            {"workbook", compoundFile({{"Workbook", plainBook}}), "xls"},
            {"workbook of an older program", compoundFile({{"Book", plainBook}}), "xls"},
            {"encrypted workbook", compoundFile({{"x", plainBook}, {"Workbook", lockedBook}}), "xls encrypted"},
            {"slides", compoundFile({{"Current User"}, {"PowerPoint Document"}}), "ppt"},
            {"encrypted slides", compoundFile({{"PowerPoint Document"}, {"EncryptedSummary"}}), "ppt encrypted"},
            {"slides with a workbook inside", compoundFile({{"PowerPoint Document"}, {"x"}, {"Workbook", {}, true}}),
             "ppt"},
            {"message", compoundFile({{"__substg1.0_0037001F"}}), "msg"},
            {"message with a text attached", compoundFile({{"__properties_version1.0"}, {"WordDocument", {}, true}}),
             "msg"},
            {"installer", compoundFile({{"x"}}, bytes("84 10 0C 00 00 00 00 00 C0 00 00 00 00 00 00 46")), "msi"},
            {"encrypted package", compoundFile({{"EncryptionInfo"}, {"EncryptedPackage"}}),
             "docx xlsx xlsm pptx ppsx encrypted"},
            {"encrypted package in capitals", compoundFile({{"ENCRYPTIONINFO"}, {"ENCRYPTEDPACKAGE"}}),
             "docx xlsx xlsm pptx ppsx encrypted"},
            {"a longer name", compoundFile({{"EncryptedPackage2"}}), ""},
            {"thumbnails", compoundFile({{"Catalog"}, {"1"}}), ""},
            {"a directory that runs in a circle", looped, ""},
            {"a tree that runs in a circle", crossed, ""},
            {"sectors of a size that does not exist", joined({bytes("D0 CF 11 E0"), repeated(0xFF, 600)}), "-"},
        });
}

} // namespace
} // namespace nivex
