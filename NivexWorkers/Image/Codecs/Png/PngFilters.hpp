#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace nivex::image {

/// Rows of a PNG picture (PNG, Third Edition, W3C, 9), each `rowBytes` long, with the one above the first.
struct PngRows {
    std::span<const std::byte> above; // empty for the top of the picture
    std::span<const std::byte> rows;
    std::size_t rowBytes;
    std::size_t pixelBytes; // 1…8
};

/// The rows as they are, each behind the name of the filter "None".
std::vector<std::byte> unfiltered(const PngRows& rows);

/// The rows, each behind the name of the filter among Sub, Up and Paeth that leaves the smallest differences.
std::vector<std::byte> filtered(const PngRows& rows);

} // namespace nivex::image
