#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <pango/pangocairo.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace nivex::document {

template <auto release>
struct ReleaseWith {
    template <class T>
    void operator()(T* object) const
    {
        release(object);
    }
};
using Surface = std::unique_ptr<cairo_surface_t, ReleaseWith<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, ReleaseWith<cairo_destroy>>;
using Layout = std::unique_ptr<PangoLayout, ReleaseWith<g_object_unref>>;
using LayoutIterator = std::unique_ptr<PangoLayoutIter, ReleaseWith<pango_layout_iter_free>>;

/// How a paragraph is set.
struct TextLooks {
    double size = 11; // points
    bool isBold = false;
    bool isCode = false;
    Alignment alignment = Alignment::natural;
};

/// A part of a paragraph that leads somewhere, as bytes of its text.
struct LinkedRange {
    std::size_t begin;
    std::size_t end;
    std::string link;
};

/// A paragraph broken into lines of a width in points.
struct SetText {
    Layout layout;
    std::vector<LinkedRange> links;
    std::vector<std::string> anchors; // that stand in it
    bool lacksGlyphs = false;         // no font of this machine has some of its characters

    double height() const;
};

/// Pictures are left out; notes are their numbers.
SetText setText(cairo_t* context, const Inlines& inlines, const TextLooks& looks, double width);

} // namespace nivex::document
