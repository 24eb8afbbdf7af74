#pragma once

#include <cstdint>

namespace nivex::image {

/// Teaches libheif a second AV1 encoder, SVT-AV1: as good for its bytes as libaom at a fraction of the time, but for
/// 8-bit colour with halved colour resolution (4:2:0) only. Any number of times.
void addFastAv1Encoder();

/// Its name, and the sizes that it takes, of even sides only: it needs about 60 bytes of memory for a pixel.
constexpr const char* fastAv1Encoder = "svt";
constexpr int fastAv1SmallestSide = 64;
constexpr int fastAv1LargestHeight = 8'704;
constexpr std::int64_t fastAv1MostPixels = 20'000'000;

} // namespace nivex::image
