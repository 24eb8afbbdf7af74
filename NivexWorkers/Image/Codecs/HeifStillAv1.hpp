#pragma once

namespace nivex::image {

/// Teaches libheif one more AV1 encoder: libaom in its way of coding a single picture, which libheif's own does not
/// offer. It is better for its bytes in a third of the time. Any number of times.
///
/// Its parameters are text: "quantizer" from 1 to 61 in quarters, "speed" from 0 to 9 (the fastest), "threads", and
/// "chroma", "420" or "444". It takes 8, 10 and 12 bits, grey too, and codes nothing without loss.
void addStillAv1Encoder();

constexpr const char* stillAv1Encoder = "aom-still";

} // namespace nivex::image
