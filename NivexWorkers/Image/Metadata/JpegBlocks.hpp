#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace nivex::image {

/// What the payloads of segments with metadata begin with (Exif 2.32, 4.7.2; Adobe's XMP "Storage in Files", 1.1.3).
namespace jpegblock {
using namespace std::string_view_literals;
constexpr auto exifLead = "Exif\0\0"sv;
constexpr auto xmpLead = "http://ns.adobe.com/xap/1.0/\0"sv;
constexpr auto extensionLead = "http://ns.adobe.com/xmp/extension/\0"sv; // a digest, the size, an offset, a part
constexpr auto photoshopLead = "Photoshop 3.0\0"sv;
} // namespace jpegblock

/// The kind of metadata that a segment holds: what its payload begins with; empty for none.
std::string_view jpegBlockLead(const ByteSource& file, const JpegSegment& segment);

/// A segment as it stands in a file. Its payload has at most 65,533 bytes.
std::string jpegSegment(std::uint8_t marker, std::string_view lead, std::string_view rest);

} // namespace nivex::image
