#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace nivex::image {

/// A JPEG file whose data can lie in a PDF file as they are.
struct JpegInPdf {
    struct Piece {
        std::uint64_t offset;
        std::uint64_t count;
    };

    std::int64_t width; // as stored, before any orientation
    std::int64_t height;
    int components;  // 1, 3 or 4
    bool isInverted; // inks are stored as 255 minus the amount
};

/// None for files that programs showing PDF may read otherwise than those showing JPEG: more than 8 bits, arithmetic
/// or lossless coding, and colours whose meaning no marker tells.
std::optional<JpegInPdf> jpegInPdf(const ByteSource& file);

/// The pieces of the file without what it says about the picture: only what is needed to decode it.
std::vector<JpegInPdf::Piece> bareJpeg(const ByteSource& file);

} // namespace nivex::image
