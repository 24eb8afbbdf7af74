#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <vips/vips8>

#include <cstddef>
#include <functional>
#include <span>

namespace nivex::image {

/// Called with each row from the top, from one thread at a time but not the caller's; may throw.
using RowTaker = std::function<void(int y, std::span<const std::byte> row)>;

/// Computes a picture on all processors and hands its rows over in order, never holding more than a few strips.
/// Reports it as the part from `begin` to `end` of the whole. Throws what `take` throws, or vips::VError.
void pullRows(const vips::VImage& image, const ProgressCallback& progress, double begin, double end,
              const RowTaker& take);

/// The samples of such a row.
template <class Sample>
const Sample* samplesOf(std::span<const std::byte> row)
{
    return reinterpret_cast<const Sample*>(row.data());
}

} // namespace nivex::image
