#include "NivexKit/Detection/Containers/StructuralCheck.hpp"

#include <iterator>

/// The checks read any bytes as any of their formats; the first byte chooses which.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr const char* formats[] = {"png", "jpeg", "gif", "mp4", "wav", "webp"};
    if (size == 0)
        return 0;
    const nivex::MemorySource source{{reinterpret_cast<const std::byte*>(data) + 1, size - 1}};
    nivex::StructuralCheck::problem(source, formats[data[0] % std::size(formats)]);
    return 0;
}
