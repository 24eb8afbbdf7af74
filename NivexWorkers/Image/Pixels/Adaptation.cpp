#include "NivexWorkers/Image/Pixels/Adaptation.hpp"

#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Pixels/Colors.hpp"
#include "NivexWorkers/Image/Pixels/Scaling.hpp"

#include <algorithm>

namespace nivex::image {
namespace {

using vips::VImage;

bool keepsAllFrames(FrameKind kind, KeptPictures kept)
{
    switch (kind) {
    case FrameKind::single:
        return true;
    case FrameKind::pages:
        return keepsAll(KeptPictures::pages, kept);
    case FrameKind::sizes:
        return keepsAll(KeptPictures::sizes, kept);
    case FrameKind::animation:
        return keepsAll(KeptPictures::animation, kept);
    }
    return false;
}

void keepOnlyFirst(Picture& picture)
{
    picture.frames.resize(1);
    picture.delays.clear();
    picture.kind = FrameKind::single;
}

VImage upright(const VImage& image)
{
    VImage turned = image.get_typeof(VIPS_META_ORIENTATION) ? image.autorot() : image.copy();
    turned.remove(VIPS_META_ORIENTATION);
    return turned;
}

/// The longest side that both the person and the format allow; 0 for any.
std::int64_t longestSide(const WrittenPictures& target, const ConversionOptions& options)
{
    const std::int64_t asked = options.maxPixelDimension.value_or(0);
    if (asked == 0 || target.longestSide == 0)
        return std::max(asked, target.longestSide);
    return std::min(asked, target.longestSide);
}

VImage flattened(const VImage& image, FlattenBackground background)
{
    if (!image.has_alpha())
        return image;
    const double opaque = opaqueAlpha(image);
    const bool isWhite = background == FlattenBackground::white;
    std::vector<double> ground{isWhite ? opaque : 0}; // white has the value of opaque alpha
    if (isCmyk(image))
        ground = {0, 0, 0, isWhite ? 0 : opaque};
    return image.flatten(VImage::option()->set("background", ground)->set("max_alpha", opaque));
}

} // namespace

Picture adapted(Picture picture, const WrittenPictures& target, const ConversionOptions& options)
{
    if (!keepsAllFrames(picture.kind, target.pictures))
        keepOnlyFirst(picture);
    const VImage before = picture.first();
    const std::int64_t longest = longestSide(target, options);
    for (VImage& frame : picture.frames) {
        frame = noLongerThan(longest, upright(withUsableProfile(frame)));
        if (!target.hasAlpha)
            frame = flattened(frame, options.flattenBackground);
        frame = inColors(frame, target, options.colorProfile);
    }
    const VImage& after = picture.first();
    picture.metadata =
        underPolicy(std::move(picture.metadata), options.metadata,
                    {.width = after.width(),
                     .height = after.height(),
                     .isChanged = after.width() != before.width() || after.height() != before.height() ||
                                  before.get_typeof(VIPS_META_ORIENTATION) != 0 || after.bands() != before.bands()});
    return picture;
}

} // namespace nivex::image
