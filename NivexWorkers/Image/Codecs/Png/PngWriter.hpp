#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/DeflatedPixels.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/OrderedWork.hpp"

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace nivex::image {

/// The compressed pixels of a PNG picture, made of rows: strips of about 1 MiB are filtered and compressed side by side
/// and become one stream of zlib.
class PngPixels {
public:
    /// `take` is given the stream piece by piece, from the thread that adds rows; it may throw.
    PngPixels(std::size_t rowBytes, std::size_t pixelBytes, unsigned processors,
              std::function<void(std::string_view)> take);

    /// Adds a row whose samples of 16 bits have their higher byte first.
    void add(std::span<const std::byte> row);
    void finish();

private:
    void compressStrip();
    void takePart(const DeflatedPart& part);

    std::size_t rowBytes_;
    std::size_t pixelBytes_;
    std::function<void(std::string_view)> take_;
    std::vector<std::byte> above_; // the last row of the strip before
    std::vector<std::byte> strip_;
    bool hasBegun_ = false;
    ZlibStream stream_;
    OrderedWork<DeflatedPart> compression_;
};

/// Writes a picture of 8 or 16 bits, with its profile and its resolution.
/// Throws ConversionError or vips::VError.
void writePngFile(const vips::VImage& image, const WriteRequest& request);

/// Writes an animation whose frames have one size, depth and number of components. Two of them are in memory at a time.
/// Throws ConversionError or vips::VError.
void writeApngFile(const Picture& picture, const WriteRequest& request);

} // namespace nivex::image
