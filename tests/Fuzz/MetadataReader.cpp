#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Whatever a file says, it is read, changed under the policies and carried over without an error; what is left is
/// sound and tells no position. The first byte chooses the format.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    using namespace nivex::image;
    [[maybe_unused]] static const bool isStarted = (startMetadataLibrary(), true);
    static constexpr Metadata (*readers[])(const ByteSource&) = {readJpegMetadata, readPngMetadata, readWebpMetadata,
                                                                 readPhotoshopMetadata, readJpeg2000Metadata};
    if (size == 0)
        return 0;
    const std::span bytes{reinterpret_cast<const std::byte*>(data) + 1, size - 1};
    const MemorySource file{bytes};

    const Metadata metadata = readers[data[0] % std::size(readers)](file);
    for (const MetadataPolicy policy : {MetadataPolicy::keep, MetadataPolicy::removeLocation}) {
        const Metadata left =
            withoutIptc(underPolicy(metadata, policy, {.width = 40, .height = 30, .isChanged = true}));
        if (!left.exif.empty()) {
            const auto exif = ExifBlock::parse(left.exif);
            if (!exif || exif->mainDirectory().empty())
                std::abort();
            for (const ExifBlock::Entry& entry : exif->mainDirectory())
                if (policy == MetadataPolicy::removeLocation && entry.tag == ExifBlock::gpsPointer)
                    std::abort();
            exifOfAtMost(left.exif.size() - 1, left.exif);
        }
        if (!left.xmp.empty()) {
            const auto packet = XmpPacket::parse(left.xmp);
            if (!packet)
                std::abort();
            packet->split(left.xmp.size() / 2);
        }
    }
    if (jpegInPdf(file))
        bareJpeg(file);
    return 0;
}
