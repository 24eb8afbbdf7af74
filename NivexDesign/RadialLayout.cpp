#include "NivexDesign/RadialLayout.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace nivex {
namespace {

constexpr double fullTurn = 2 * std::numbers::pi;

LayoutPoint onCircle(const LayoutPoint& center, double radius, double turn)
{
    // Turns clockwise from the top; screens count y downwards.
    return {center.x + radius * std::sin(turn * fullTurn), center.y - radius * std::cos(turn * fullTurn)};
}

bool holds(const LayoutArea& area, const LayoutPoint& point, double radius)
{
    return point.x - radius >= area.left && point.x + radius <= area.right && point.y - radius >= area.top &&
           point.y + radius <= area.bottom;
}

} // namespace

std::vector<LayoutPoint> RadialLayout::bubbles(std::size_t count) const
{
    std::vector<LayoutPoint> result;
    if (bubbleRadius <= 0)
        return result;
    const double pitch = 2 * bubbleRadius + gap;
    const double farthest = std::max({std::hypot(center.x - area.left, center.y - area.top),
                                      std::hypot(area.right - center.x, center.y - area.top),
                                      std::hypot(center.x - area.left, area.bottom - center.y),
                                      std::hypot(area.right - center.x, area.bottom - center.y)});
    for (double ring = sphereRadius + gap + bubbleRadius; ring <= farthest && result.size() < count; ring += pitch) {
        // The chord between neighbours is at least the pitch.
        const double ratio = std::min(1.0, pitch / (2 * ring));
        const auto places =
            static_cast<std::size_t>(std::max(1.0, std::floor(std::numbers::pi / std::asin(ratio) + 1e-9)));
        const std::size_t wanted = std::min(places, count - result.size());
        const bool allFit = [&] {
            for (std::size_t i = 0; i < wanted; ++i)
                if (!holds(area, onCircle(center, ring, static_cast<double>(i) / static_cast<double>(wanted)),
                           bubbleRadius))
                    return false;
            return true;
        }();
        // With room all around they share the circle evenly; at an edge each takes the next place that lies inside.
        const std::size_t stops = allFit ? wanted : places;
        for (std::size_t i = 0; i < stops && result.size() < count; ++i) {
            const LayoutPoint point = onCircle(center, ring, static_cast<double>(i) / static_cast<double>(stops));
            if (holds(area, point, bubbleRadius))
                result.push_back(point);
        }
    }
    return result;
}

} // namespace nivex
