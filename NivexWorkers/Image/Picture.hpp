#pragma once

#include "NivexWorkers/Image/Metadata/Metadata.hpp"

#include <vips/vips8>

#include <vector>

namespace nivex::image {

/// How the frames of a picture belong together.
enum class FrameKind {
    single,
    pages,     // of any size
    sizes,     // the same picture in several sizes, largest first
    animation, // of one size, each with its time
};

/// A decoded picture on its way into another format. Pixels are computed when they are pulled, so a picture that was
/// opened is cheap, and damage may show only while it is written.
///
/// Each frame has 1 band (grey), 3 (RGB) or 4 (four inks, interpretation VIPS_INTERPRETATION_CMYK), and one more with
/// alpha, not premultiplied; components are uchar, ushort or float; the interpretation says which: b-w, grey16, srgb,
/// rgb16, scrgb (float, linear light, 1.0 is white, alpha 0…1) or cmyk. A frame may carry an ICC profile
/// (VIPS_META_ICC_NAME) that fits its bands and, where its pixels do not stand upright, VIPS_META_ORIENTATION.
/// Resolution is xres and yres in pixels per millimetre; readers leave 72/25.4 where the file tells none.
struct Picture {
    std::vector<vips::VImage> frames; // at least one
    FrameKind kind = FrameKind::single;
    std::vector<int> delays; // of an animation: how long each frame is shown, in milliseconds
    int loops = 0;           // of an animation: how often it runs; 0 for ever
    Metadata metadata;

    const vips::VImage& first() const { return frames.front(); }
};

/// How long viewers show a frame of an animation that asks for so many milliseconds: one that wants to be quicker than
/// displays are is shown for a tenth of a second; files rely on it.
constexpr int shownDelay(int milliseconds) { return milliseconds < 11 ? 100 : milliseconds; }

inline bool isCmyk(const vips::VImage& image) { return image.interpretation() == VIPS_INTERPRETATION_CMYK; }
inline bool isGrey(const vips::VImage& image) { return image.bands() < 3; }

/// The alpha value of an opaque pixel. libvips' own idea of it differs for floating point, so its operations are told.
inline double opaqueAlpha(const vips::VImage& image)
{
    return image.format() == VIPS_FORMAT_UCHAR ? 255 : image.format() == VIPS_FORMAT_USHORT ? 65'535 : 1;
}

inline bool hasProfile(const vips::VImage& image) { return image.get_typeof(VIPS_META_ICC_NAME) != 0; }

} // namespace nivex::image
