#pragma once

#include <cstddef>
#include <cstdint>

/// The constants of the ZIP format that its reader and its writer share.
namespace nivex::zip {

constexpr std::uint32_t localSignature = 0x04034B50;
constexpr std::uint32_t centralSignature = 0x02014B50;
constexpr std::uint32_t endSignature = 0x06054B50;

// Sizes of the records without their variable parts.
constexpr std::size_t localHeaderSize = 30;
constexpr std::size_t centralRecordSize = 46;
constexpr std::size_t endRecordSize = 22;

constexpr std::uint16_t methodStored = 0;
constexpr std::uint16_t methodDeflated = 8;

} // namespace nivex::zip
