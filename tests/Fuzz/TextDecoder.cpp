#include "NivexKit/Foundation/TextDecoder.hpp"

#include "NivexKit/Foundation/Unicode.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

/// Whatever the bytes are, what comes out is UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (const auto text = nivex::decodedText(std::as_bytes(std::span{data, size})))
        if (!nivex::isValidUtf8(*text))
            std::abort();
    return 0;
}
