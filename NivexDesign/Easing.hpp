#pragma once

#include <algorithm>

namespace nivex {

/// 0…1 in time to 0…1 of the way: quick at first, settling gently.
constexpr double easedOut(double time)
{
    const double rest = 1 - std::clamp(time, 0.0, 1.0);
    return 1 - rest * rest * rest;
}

} // namespace nivex
