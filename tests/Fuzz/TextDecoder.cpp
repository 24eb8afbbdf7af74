#include "NivexKit/Foundation/Text/TextDecoder.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <cstdint>
#include <cstdlib>

/// Whatever the bytes are, what comes out is UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (const auto text = nivex::decodedText({reinterpret_cast<const char*>(data), size}))
        if (!nivex::isValidUtf8(*text))
            std::abort();
    return 0;
}
