#include "NivexKit/Archive/ZipArchive.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>
#include <cstdlib>

/// Whatever an archive announces, nothing decodes to more than that, and every failure is a ConversionError.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using nivex::ZipArchive;
    const nivex::MemorySource source{{reinterpret_cast<const std::byte*>(data), size}};
    nivex::ResourceLimits limits;
    limits.maxUnzippedEntryBytes = 1 << 20;
    try {
        const ZipArchive::Reader archive{source, limits, ZipArchive::Reader::Purpose::listing};
        for (const ZipArchive::Entry& entry : archive.entries()) {
            try {
                if (archive.prefix(entry, 1'000).size() > 1'000)
                    std::abort();
                if (archive.contents(entry).size() > std::max(entry.uncompressedSize, entry.compressedSize))
                    std::abort();
            } catch (const nivex::ConversionError&) {
            }
        }
    } catch (const nivex::ConversionError&) {
    }
    return 0;
}
