#pragma once

namespace nivex::image {

/// Teaches libheif one more AV1 encoder: libaom with tools chosen for what the picture is, which libheif's own does not
/// offer. It is better for its bytes in less time. Any number of times.
///
/// Its parameters are text: "quantizer" from 1 to 61 in quarters; "tools", "drawing" (flat areas with sharp edges),
/// "small photograph" or "large photograph"; "threads"; and "chroma", "420" or "444". It takes 8, 10 and 12 bits, grey
/// too, and codes nothing without loss.
void addStillAv1Encoder();

constexpr const char* stillAv1Encoder = "aom-still";

} // namespace nivex::image
