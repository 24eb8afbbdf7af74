#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>

namespace nivex::inspectors {

using Candidates = std::vector<FormatID>;

Finding sqlite(const ByteSource& source, const SniffResult&)
{
    constexpr std::uint64_t applicationID = 68;
    const std::string id = textAt(source, applicationID, 4);
    if (id == "GPKG" || id == "GP10" || id == "GP11")
        return {.candidates = Candidates{"gpkg"}};
    // Some writers leave the number out, but not the table that makes the database one.
    if (contains(textAt(source, 0, 64 << 10), "gpkg_contents"))
        return {.candidates = Candidates{"gpkg"}};
    return {.candidates = Candidates{}};
}

/// The fourth version of the one format is written in the other.
Finding hdf5(const ByteSource& source, const SniffResult&)
{
    const std::string head = textAt(source, 0, 64 << 10);
    for (const std::string_view mark : {"_NCProperties", "_Netcdf4", "_nc3_strict", "This is a netCDF"})
        if (contains(head, mark))
            return {.candidates = Candidates{"netcdf", "hdf5"}};
    return {};
}

/// A scene of facets has no signature: the file must have room for as many as it announces.
Finding facets(const ByteSource& source, const SniffResult& sniff)
{
    constexpr std::uint64_t title = 80;
    constexpr std::uint64_t facetSize = 50;
    if (sniff.isText)
        return {};
    const auto bytes = source.read(title, std::size_t{4});
    const std::uint64_t count = ByteReader{bytes}.u32();
    if (source.size() < title + 4 + count * facetSize)
        return {.candidates = Candidates{}};
    return {};
}

/// The opening of an icon is four bytes that many files have: at least one of its pictures must lie in the file.
Finding icon(const ByteSource& source, const SniffResult&)
{
    constexpr std::size_t maxEntries = 1'024;
    constexpr std::size_t entrySize = 16;
    const auto bytes = source.read(4, 2 + maxEntries * entrySize);
    ByteReader directory{bytes};
    const std::size_t count = directory.u16();
    const std::uint64_t end = 6 + std::uint64_t{count} * entrySize;
    for (std::size_t i = 0; i < std::min(count, maxEntries); ++i) {
        directory.skip(8);
        const std::uint64_t size = directory.u32();
        const std::uint64_t offset = directory.u32();
        if (!directory.failed() && size > 0 && offset >= end && offset < source.size())
            return {};
    }
    return {.candidates = Candidates{}};
}

Finding pointCloud(const ByteSource& source, const SniffResult&)
{
    constexpr std::uint64_t pointFormat = 104;
    const auto bytes = source.read(pointFormat, std::size_t{1});
    if (bytes.empty())
        return {};
    constexpr std::byte compressed{0xC0};
    return {.candidates = Candidates{(bytes[0] & compressed) != std::byte{} ? "laz" : "las"}};
}

Finding program(const ByteSource& source, const SniffResult&)
{
    const auto bytes = source.read(0, std::size_t{64});
    ByteReader head{bytes, ByteOrder::big};
    const std::uint32_t magic = head.u32();
    const std::uint32_t next = head.u32();
    // Programs for several processors and compiled classes share the magic. The one continues with how many processors,
    // the other with a version, of which the first was 45.
    if (magic == 0xCAFEBABE && next >= 45)
        return {.candidates = Candidates{}};
    if (magic >> 16 != 0x4D5A) // MZ
        return {};
    head.setOrder(ByteOrder::little);
    head.seek(std::min<std::size_t>(60, bytes.size()));
    const auto headerBytes = source.read(head.u32(), std::size_t{24});
    ByteReader header{headerBytes};
    const bool isPortable = header.text(4) == std::string_view{"PE\0\0", 4};
    header.skip(18);
    constexpr std::uint16_t library = 0x2000;
    if (isPortable && (header.u16() & library) != 0)
        return {.candidates = Candidates{"dll", "exe"}};
    return {.candidates = Candidates{"exe", "dll"}};
}

} // namespace nivex::inspectors
