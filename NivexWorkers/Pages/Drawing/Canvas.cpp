#include "NivexWorkers/Pages/Drawing/Canvas.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"

#include <cstdint>
#include <new>
#include <span>

namespace nivex::pages {
namespace {

using image::PixelBuffer;

/// The rows of a bitmap; a pixel is alpha, red, green and blue from the highest byte of a number on.
class Rows {
public:
    explicit Rows(cairo_surface_t* surface)
        : data_{cairo_image_surface_get_data(surface)}, stride_{cairo_image_surface_get_stride(surface)},
          width_{cairo_image_surface_get_width(surface)}, height_{cairo_image_surface_get_height(surface)}
    {
    }

    int width() const { return width_; }
    int height() const { return height_; }

    std::span<const std::uint32_t> operator[](int y) const
    {
        const unsigned char* row = data_ + std::ptrdiff_t{y} * stride_;
        return {reinterpret_cast<const std::uint32_t*>(row), static_cast<std::size_t>(width_)};
    }

private:
    const unsigned char* data_;
    int stride_;
    int width_;
    int height_;
};

std::uint8_t component(std::uint32_t pixel, int shift) { return static_cast<std::uint8_t>(pixel >> shift); }

bool isGrey(const Rows& rows)
{
    for (int y = 0; y < rows.height(); ++y) {
        std::uint32_t differences = 0;
        for (const std::uint32_t pixel : rows[y])
            differences |= ((pixel >> 8) ^ pixel) & 0xFFFF; // red with green, green with blue
        if (differences != 0)
            return false;
    }
    return true;
}

template <class Store>
vips::VImage stored(const Rows& rows, int bands, VipsInterpretation interpretation, const Store& store)
{
    PixelBuffer buffer{rows.width(), rows.height(), bands, VIPS_FORMAT_UCHAR, interpretation};
    for (int y = 0; y < rows.height(); ++y) {
        std::uint8_t* to = buffer.samples<std::uint8_t>(y);
        for (const std::uint32_t pixel : rows[y]) {
            store(pixel, to);
            to += bands;
        }
    }
    return buffer.image();
}

void storeGrey(std::uint32_t pixel, std::uint8_t* to) { to[0] = component(pixel, 0); }

void storeColor(std::uint32_t pixel, std::uint8_t* to)
{
    to[0] = component(pixel, 16);
    to[1] = component(pixel, 8);
    to[2] = component(pixel, 0);
}

void storeTransparent(std::uint32_t pixel, std::uint8_t* to)
{
    const std::uint32_t alpha = pixel >> 24;
    storeColor(pixel, to);
    if (alpha != 0 && alpha != 255)
        for (int i = 0; i < 3; ++i)
            to[i] = static_cast<std::uint8_t>(std::min(255u, (to[i] * 255u + alpha / 2) / alpha));
    to[3] = static_cast<std::uint8_t>(alpha);
}

} // namespace

Canvas::Canvas(const PixelSize& size, PageBackground background)
    : size_{size}, hasAlpha_{background == PageBackground::transparent}, surface_{cairo_image_surface_create(
                                                                             hasAlpha_ ? CAIRO_FORMAT_ARGB32
                                                                                       : CAIRO_FORMAT_RGB24,
                                                                             size.width, size.height)},
      context_{cairo_create(surface_.get())}
{
    if (cairo_surface_status(surface_.get()) != CAIRO_STATUS_SUCCESS)
        throw std::bad_alloc{};
    if (!hasAlpha_) {
        cairo_set_source_rgb(context_.get(), 1, 1, 1);
        cairo_paint(context_.get());
    }
    cairo_scale(context_.get(), size.scale, size.scale);
}

vips::VImage Canvas::picture()
{
    if (const cairo_status_t status = cairo_status(context_.get()); status == CAIRO_STATUS_NO_MEMORY)
        throw std::bad_alloc{};
    else if (status != CAIRO_STATUS_SUCCESS)
        throw image::damaged(cairo_status_to_string(status));
    cairo_surface_flush(surface_.get());
    const Rows rows{surface_.get()};
    const auto drawn = [&] {
        if (hasAlpha_)
            return stored(rows, 4, VIPS_INTERPRETATION_sRGB, storeTransparent);
        if (isGrey(rows))
            return stored(rows, 1, VIPS_INTERPRETATION_B_W, storeGrey);
        return stored(rows, 3, VIPS_INTERPRETATION_sRGB, storeColor);
    }();
    context_.reset();
    surface_.reset(); // as large as the picture, which may wait for its turn
    const double perMillimetre = size_.dpi() / 25.4;
    return drawn.copy(vips::VImage::option()->set("xres", perMillimetre)->set("yres", perMillimetre));
}

} // namespace nivex::pages
