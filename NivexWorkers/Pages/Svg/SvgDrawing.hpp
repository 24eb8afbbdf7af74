#pragma once

#include "NivexWorkers/Image/Codecs/Release.hpp"
#include "NivexWorkers/Pages/Drawing/PixelSize.hpp"

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <filesystem>
#include <memory>

namespace nivex::pages {

/// An open SVG drawing, compressed or not. Only what lies in the file itself is drawn: it names nothing that is fetched
/// and no other file that is read, and its scripts do not run. One thread.
class SvgDrawing {
public:
    /// Throws `unreadableSource` for a file that is no sound SVG or is nested too deep, and `resourceLimit` where it
    /// unpacks to more than 256 MiB.
    explicit SvgDrawing(const std::filesystem::path& file);

    /// As the drawing says; else that of its view box; else that of what it draws. A pixel of it is 1/96 inch.
    PointSize size() const { return {frame_.width * pointsPerPixel, frame_.height * pointsPerPixel}; }

    /// Draws in units of points. Throws `resourceLimit` where references multiply to more than can be drawn.
    void draw(cairo_t* context) const;

private:
    static constexpr double pointsPerPixel = 72.0 / 96;

    std::unique_ptr<RsvgHandle, image::Release<g_object_unref>> handle_;
    RsvgRectangle frame_{}; // what is seen, in pixels
};

} // namespace nivex::pages
