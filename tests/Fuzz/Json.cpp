#include "NivexKit/Foundation/Text/Json.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What can be read can be written, and reads back as the same value.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const nivex::JsonValue value = nivex::parseJson({reinterpret_cast<const char*>(data), size});
        if (nivex::parseJson(nivex::writeJson(value)) != value)
            std::abort();
    } catch (const nivex::JsonError&) {
    }
    return 0;
}
