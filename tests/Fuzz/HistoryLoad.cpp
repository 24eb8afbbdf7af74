#include "NivexKit/Execution/History/HistoryFile.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What can be loaded can be saved, and loads as the same entries.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto entries = nivex::historyEntries({reinterpret_cast<const char*>(data), size});
    if (entries && nivex::historyEntries(nivex::historyText(*entries)) != entries)
        std::abort();
    return 0;
}
