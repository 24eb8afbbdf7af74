#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

/// The same bytes always give the same answer, a container never comes without candidates, and decoded text is UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto head = std::as_bytes(std::span{data, size});
    const nivex::SniffResult result = nivex::SignatureSniffer::sniff(head);
    if (result != nivex::SignatureSniffer::sniff(head) || (result.isUnknown() && result.container))
        std::abort();
    const auto text = nivex::SignatureSniffer::decodeText(head);
    if (text && !nivex::isValidUtf8(*text))
        std::abort();
    return 0;
}
