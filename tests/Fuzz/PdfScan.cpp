#include "NivexKit/Detection/Pdf/PdfScan.hpp"

#include <cstddef>
#include <cstdint>

/// Any bytes are scanned, whatever their references claim.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const nivex::MemorySource source{{reinterpret_cast<const std::byte*>(data), size}};
    nivex::HeaderBytes bytes{source, {}};
    nivex::scanPdf(bytes);
    return 0;
}
