#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

/// Whatever a file says, its metadata are taken out or it is refused, and of what is left nothing more is taken out.
/// The first byte chooses the format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    using namespace nivex::image;
    [[maybe_unused]] static const bool isStarted = (startMetadataLibrary(), true);
    static constexpr FilePieces (*removers[])(const ByteSource&, MetadataPolicy) = {
        jpegWithoutMetadata, pngWithoutMetadata, webpWithoutMetadata, tiffWithoutMetadata, heifWithoutMetadata};
    if (size == 0)
        return 0;
    const auto remove = removers[data[0] % std::size(removers)];
    const MemorySource file{std::span{reinterpret_cast<const std::byte*>(data) + 1, size - 1}};
    for (const MetadataPolicy policy : {MetadataPolicy::removeAll, MetadataPolicy::removeLocation}) {
        try {
            const auto left = remove(file, policy).bytes(file);
            const MemorySource again{left};
            if (remove(again, policy).bytes(again) != left && policy == MetadataPolicy::removeAll)
                std::abort();
        } catch (const ConversionError&) {
        }
    }
    return 0;
}
