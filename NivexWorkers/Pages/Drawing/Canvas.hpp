#pragma once

#include "NivexWorkers/Pages/Drawing/PixelSize.hpp"

#include "NivexKit/Contract/ConversionOptions.hpp"

#include <cairo.h>
#include <vips/vips8>

#include <memory>

namespace nivex::pages {

struct ReleaseSurface {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ReleaseContext {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, ReleaseSurface>;
using Context = std::unique_ptr<cairo_t, ReleaseContext>;

/// A bitmap that a page is drawn on, in units of points. One thread.
class Canvas {
public:
    /// Throws `resourceLimit` where there is no memory for it.
    Canvas(const PixelSize& size, PageBackground background);

    cairo_t* context() { return context_.get(); }

    /// What was drawn, with its resolution: one component where all of it is grey, which costs a third and looks the
    /// same; alpha, not premultiplied, where the background is transparent. Throws `unreadableSource` where drawing
    /// failed.
    vips::VImage picture();

private:
    PixelSize size_;
    bool hasAlpha_;
    Surface surface_;
    Context context_;
};

} // namespace nivex::pages
