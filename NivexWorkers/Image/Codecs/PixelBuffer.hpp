#pragma once

#include <vips/vips8>

#include <cstddef>
#include <cstdint>
#include <span>

namespace nivex::image {

/// Pixels that a decoder fills in any order, row after row without gaps, and that then become a picture. Many of them
/// lie in a temporary file, so that a giant picture needs address space rather than memory.
class PixelBuffer {
public:
    /// Sides have been tested before (requireAcceptableSize). Every byte is 0 at first.
    /// Throws `resourceLimit` when there is no room.
    PixelBuffer(std::int64_t width, std::int64_t height, int bands, VipsBandFormat format,
                VipsInterpretation interpretation);
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer();

    std::size_t rowBytes() const { return rowBytes_; }
    std::span<std::byte> bytes() { return {pixels_, size_}; }
    std::byte* row(std::int64_t y) { return pixels_ + static_cast<std::size_t>(y) * rowBytes_; }
    template <class Sample>
    Sample* samples(std::int64_t y)
    {
        return reinterpret_cast<Sample*>(row(y));
    }

    /// The picture of these pixels, which it now owns. Once.
    vips::VImage image();

private:
    int width_;
    int height_;
    int bands_;
    VipsBandFormat format_;
    VipsInterpretation interpretation_;
    std::size_t rowBytes_ = 0;
    std::size_t size_ = 0;
    std::byte* pixels_ = nullptr;
};

} // namespace nivex::image
