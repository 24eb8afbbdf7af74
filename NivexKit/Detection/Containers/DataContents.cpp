#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

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
