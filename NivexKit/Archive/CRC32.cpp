#include "NivexKit/Archive/CRC32.hpp"

#include <libdeflate.h>

namespace nivex {

std::uint32_t CRC32::checksum(std::span<const std::byte> data, std::uint32_t previous)
{
    // The library takes a null buffer as a request for the start value, whatever came before.
    return data.empty() ? previous : libdeflate_crc32(previous, data.data(), data.size());
}

} // namespace nivex
