#pragma once

#include "NivexKit/Structures/IsoBoxes.hpp"

#include <cstdint>
#include <functional>

namespace nivex {

/// Calls `take` with type and both items of every reference in a box "iref" (ISO/IEC 14496-12, 8.11.12): "dimg" leads
/// from a picture to its parts, "thmb" and "auxl" from what belongs to a picture to the picture. Stops where the box is
/// malformed.
void forEachItemReference(const ByteSource& file, const IsoBox& box,
                          const std::function<void(std::uint32_t type, std::uint32_t from, std::uint32_t to)>& take);

} // namespace nivex
