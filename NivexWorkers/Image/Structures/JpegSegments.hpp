#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nivex::image {

/// A marker segment of a JPEG file (ITU-T T.81, B.1.1.4).
struct JpegSegment {
    std::uint64_t offset; // of the marker
    std::uint8_t marker;
    std::size_t payload; // bytes after the length

    std::uint64_t end() const { return offset + 4 + payload; }
};

struct JpegSegments {
    std::vector<JpegSegment> all;
    std::uint64_t end = 2; // where the first scan, or what cannot be understood, begins
};

/// The segments before the first scan.
JpegSegments jpegSegments(const ByteSource& file);

/// Where the picture ends, behind its last marker; what follows is no part of it. The end of the file where that
/// marker is missing.
std::uint64_t jpegPictureEnd(const ByteSource& file);

} // namespace nivex::image
