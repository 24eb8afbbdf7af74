#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
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

/// Where the contents of a resource stand in the file.
struct PhotoshopResource {
    std::uint16_t identifier;
    std::uint64_t begin;
    std::uint64_t end;
};

/// Hops over the resources between two offsets, by their headers alone. It ends at the first malformed one and at the
/// first that goes on behind the space. It has no bound of its own on their number. The file outlives it.
class PhotoshopResources {
public:
    PhotoshopResources(const ByteSource& file, std::uint64_t begin, std::uint64_t end)
        : file_{file}, next_{begin}, end_{end}
    {
    }

    std::optional<PhotoshopResource> next();

    /// True when the resources filled the space, but perhaps for the byte that pads the last.
    bool reachedEnd() const { return next_ >= end_; }

private:
    const ByteSource& file_;
    std::uint64_t next_;
    std::uint64_t end_;
};

/// Calls `take` with identifier and contents of every resource; stops where the bytes are malformed.
void forEachResource(std::span<const std::byte> blocks,
                     const std::function<void(std::uint16_t, std::span<const std::byte>)>& take);

/// A block with an empty name, padded.
std::vector<std::byte> resourceBlock(std::uint16_t identifier, std::span<const std::byte> contents);

} // namespace nivex
