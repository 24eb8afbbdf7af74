#pragma once

#include <cstddef>
#include <vector>

namespace nivex {

struct LayoutPoint {
    double x = 0;
    double y = 0;

    bool operator==(const LayoutPoint&) const = default;
};

struct LayoutArea {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;

    bool operator==(const LayoutArea&) const = default;
};

/// Where the bubbles stand around a sphere.
struct RadialLayout {
    LayoutPoint center;      // of the sphere
    double sphereRadius = 0; // the bubbles stand outside it
    double bubbleRadius = 0;
    double gap = 0;  // at least so much between two bubbles, and between them and the sphere
    LayoutArea area; // in which every bubble lies whole: the window, or the screen of a floating sphere

    /// The centres of as many bubbles as fit, at most `count`: in the order in which they are proposed, clockwise from
    /// the top where there is room all around, in rings one outside the other.
    std::vector<LayoutPoint> bubbles(std::size_t count) const;
};

} // namespace nivex
