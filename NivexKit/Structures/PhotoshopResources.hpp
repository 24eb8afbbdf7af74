#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace nivex {

/// Image resource blocks, which lie in PSD files, in APP13 of JPEG and in a tag of TIFF ("Adobe Photoshop File
/// Formats", section "Image Resources").
namespace photoshop {
constexpr std::uint16_t resolution = 1005;
constexpr std::uint16_t alphaNames = 1006;
constexpr std::uint16_t iptc = 1028;
constexpr std::uint16_t profile = 1039;
constexpr std::uint16_t transparentIndex = 1047;
constexpr std::uint16_t version = 1057; // tells whether the merged picture is one
constexpr std::uint16_t exif = 1058;
constexpr std::uint16_t xmp = 1060;
} // namespace photoshop

/// Calls `take` with identifier and contents of every resource; stops where the bytes are malformed.
void forEachResource(std::span<const std::byte> blocks,
                     const std::function<void(std::uint16_t, std::span<const std::byte>)>& take);

/// A block with an empty name, padded.
std::vector<std::byte> resourceBlock(std::uint16_t identifier, std::span<const std::byte> contents);

} // namespace nivex
