#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <cstdint>
#include <optional>

namespace nivex::pages {

/// How large a page or a drawing is, in points of 1/72 inch.
struct PointSize {
    double width = 0;
    double height = 0;
};

/// How large its bitmap becomes.
struct PixelSize {
    int width = 0;
    int height = 0;
    double scale = 1;       // pixels a point
    bool isReduced = false; // a limit allows fewer pixels than were asked for

    double dpi() const { return scale * 72; }
};

/// The lowest resolution that can be asked for: what does not fit at this one is refused.
inline constexpr double lowestDPI = 36;

/// The bitmap of `size` at the resolution of the request, no longer than it asks for and than its target format and the
/// limits allow.
///
/// number  of the page, from 1, for the sentence of the error; none for a drawing, which has no pages
/// throws  `unreadableSource` where there is no area, and `resourceLimit` where even the lowest resolution is too much
PixelSize pixelSizeOf(PointSize size, const EngineRequest& request, std::optional<std::int64_t> number);

} // namespace nivex::pages
