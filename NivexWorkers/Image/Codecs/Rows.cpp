#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexWorkers/Image/Codecs/Progress.hpp"

#include <exception>

namespace nivex::image {
namespace {

struct Taking {
    const RowTaker& take;
    std::exception_ptr failure;
};

/// The exception is kept aside: libvips is C and must not see it.
int takeStrip(VipsRegion* region, VipsRect* area, void* context)
{
    auto& taking = *static_cast<Taking*>(context);
    try {
        const auto pixelBytes = static_cast<std::size_t>(vips_format_sizeof(region->im->BandFmt)) *
                                static_cast<std::size_t>(region->im->Bands);
        const auto rowBytes = static_cast<std::size_t>(area->width) * pixelBytes;
        for (int y = area->top; y < area->top + area->height; ++y) { // strips are as wide as the picture
            const auto line = static_cast<std::size_t>(y - region->valid.top);
            const VipsPel* row = region->data + line * static_cast<std::size_t>(region->bpl);
            taking.take(y, {reinterpret_cast<const std::byte*>(row), rowBytes});
        }
    } catch (...) {
        taking.failure = std::current_exception();
        return -1;
    }
    return 0;
}

} // namespace

void pullRows(const vips::VImage& image, const ProgressCallback& progress, double begin, double end,
              const RowTaker& take)
{
    const vips::VImage pulled = image.copy(); // progress is a property of the object, which others may share
    const PullProgress reporting{pulled, progress, begin, end};
    Taking taking{take, nullptr};
    const int failed = vips_sink_disc(pulled.get_image(), takeStrip, &taking);
    if (taking.failure)
        std::rethrow_exception(taking.failure);
    if (failed != 0)
        throw vips::VError{};
}

} // namespace nivex::image
