#include "NivexKit/Detection/Containers/ContainerInspection.hpp"
#include "NivexKit/Detection/Containers/ZipInspector.hpp"
#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"

#include <algorithm>

/// What the sniffer makes of the bytes is looked into; then the bytes are read as one of the containers that its first
/// byte chooses, so that the inspectors behind rare signatures get their share.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    const std::span bytes{reinterpret_cast<const std::byte*>(data), size};
    const MemorySource source{bytes};
    const auto head = bytes.first(std::min<std::size_t>(size, 4'096));
    inspectContainer(source, SignatureSniffer::sniff(head));
    ZipInspector::classify(head);
    if (size == 0)
        return 0;
    constexpr int containers = static_cast<int>(ContainerKind::subStation) + 1;
    inspectContainer(source,
                     {.candidates = {"tiff", "dng"}, .container = static_cast<ContainerKind>(data[0] % containers)});
    return 0;
}
