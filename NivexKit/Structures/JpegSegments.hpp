#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace nivex {

/// A marker segment of a JPEG file (ITU-T T.81, B.1.1.4).
struct JpegSegment {
    std::uint64_t offset; // of the marker
    std::uint8_t marker;
    std::size_t payload; // bytes after the length

    std::uint64_t data() const { return offset + 4; }
    std::uint64_t end() const { return data() + payload; }
};

/// Hops over the segments before the first scan of a JPEG file, or of one that stands at `start` inside another file.
/// Fill bytes and markers without a payload are passed; it ends at the scan, at the end of the picture, at what is no
/// marker, and after 100,000 steps. The payload of the last segment may be cut. The file outlives it.
class JpegSegments {
public:
    explicit JpegSegments(const ByteSource& file, std::uint64_t start = 0) : file_{file}, position_{start + 2} {}

    std::optional<JpegSegment> next();

    /// Where the next segment, or what ended the walk, begins.
    std::uint64_t position() const { return position_; }

    /// Steps over the scan that ended the walk, its header and its data: more segments may follow. It reads all of the
    /// scan. False where something else ended the walk.
    bool passScan();

    /// Where the picture ends, behind the mark that ended the walk; none where something else ended it.
    std::optional<std::uint64_t> pictureEnd() const;

private:
    const ByteSource& file_;
    std::uint64_t position_;
    int left_ = 100'000;
};

/// Where the picture that begins at `start` ends, behind its last marker; what follows is no part of it. None where
/// that marker is missing or there is no scan. It reads all of the picture.
std::optional<std::uint64_t> jpegPictureEnd(const ByteSource& file, std::uint64_t start = 0);

} // namespace nivex
