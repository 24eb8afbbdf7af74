// PNG: read by libvips, which knows no animations, whose frames are painted here.
#include "NivexWorkers/Image/Codecs/Bitmaps/BitmapImage.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Png/Apng.hpp"
#include "NivexWorkers/Image/Codecs/Png/InflateWindow.hpp"
#include "NivexWorkers/Image/Codecs/Png/PngColors.hpp"
#include "NivexWorkers/Image/Codecs/Png/PngWriter.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"

#include <algorithm>
#include <limits>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr std::uint64_t mostInMemory = 256 << 20; // of a file that is read whole to mend it

/// One pixel over another, both with alpha that is not premultiplied, as the last of `bands` components.
template <class Sample>
void blend(const Sample* over, Sample* under, int bands)
{
    constexpr std::uint64_t most = std::numeric_limits<Sample>::max();
    const int last = bands - 1;
    if (over[last] == 0)
        return;
    const std::uint64_t part = over[last] * most;
    const std::uint64_t otherPart = (most - over[last]) * under[last];
    const std::uint64_t both = part + otherPart;
    for (int i = 0; i < last; ++i)
        under[i] = static_cast<Sample>((over[i] * part + under[i] * otherPart + both / 2) / both);
    under[last] = static_cast<Sample>((both + most / 2) / most);
}

/// What an animation shows: one frame after the other is painted onto it.
template <class Sample>
class Canvas {
public:
    /// `like` is one of the pictures in the file.
    Canvas(const Apng& animation, const VImage& like)
        : animation_{animation}, like_{like}, sourceBands_{like.bands()}, hasSourceAlpha_{like.has_alpha()},
          bands_{like.bands() + (!hasSourceAlpha_ && showsGround(animation) ? 1 : 0)}, pixels_{newBuffer()}
    {
    }

    /// What is to be seen while `frame` is shown.
    VImage show(const ApngFrame& frame, const VImage& picture)
    {
        if (picture.width() != frame.width || picture.height() != frame.height || picture.bands() != sourceBands_ ||
            picture.format() != like_.format())
            throw damaged("APNG: a frame that is not as its fcTL says");
        const std::vector<Sample> before =
            frame.disposal == ApngFrame::Disposal::previous && hasShown_ ? place(frame) : std::vector<Sample>{};
        // On this thread alone: frames are small, and libvips 8.14 may lose an error that another one meets.
        const vips::VRegion rows = picture.region();
        for (int y = 0; y < frame.height; ++y) {
            rows.prepare(0, y, frame.width, 1);
            paint(reinterpret_cast<const Sample*>(rows.addr(0, y)), at(frame, y), frame);
        }
        PixelBuffer shown = newBuffer();
        std::ranges::copy(pixels_.bytes(), shown.bytes().begin());
        dispose(frame, before);
        hasShown_ = true;
        return shown.image();
    }

private:
    /// True when transparent ground may be seen although the pictures have no alpha.
    static bool showsGround(const Apng& animation)
    {
        const ApngFrame& first = animation.frames.front();
        return first.width < animation.width || first.height < animation.height ||
               std::ranges::any_of(animation.frames, [](const ApngFrame& frame) {
                   return frame.disposal != ApngFrame::Disposal::none; // of the first frame `previous` is the ground
               });
    }

    PixelBuffer newBuffer() const
    {
        return {animation_.width, animation_.height, bands_, like_.format(), like_.interpretation()};
    }

    Sample* at(const ApngFrame& frame, int y)
    {
        return pixels_.template samples<Sample>(frame.y + y) + std::ptrdiff_t{frame.x} * bands_;
    }

    std::size_t rowSamples(const ApngFrame& frame) const
    {
        return static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(bands_);
    }

    void paint(const Sample* from, Sample* to, const ApngFrame& frame) const
    {
        for (int x = 0; x < frame.width; ++x, from += sourceBands_, to += bands_) {
            if (frame.isBlended && hasSourceAlpha_) {
                blend(from, to, bands_);
                continue;
            }
            std::copy_n(from, sourceBands_, to);
            if (bands_ > sourceBands_)
                to[sourceBands_] = std::numeric_limits<Sample>::max();
        }
    }

    std::vector<Sample> place(const ApngFrame& frame)
    {
        std::vector<Sample> samples;
        samples.reserve(rowSamples(frame) * static_cast<std::size_t>(frame.height));
        for (int y = 0; y < frame.height; ++y)
            samples.insert(samples.end(), at(frame, y), at(frame, y) + rowSamples(frame));
        return samples;
    }

    void dispose(const ApngFrame& frame, const std::vector<Sample>& before)
    {
        if (frame.disposal == ApngFrame::Disposal::none)
            return;
        for (int y = 0; y < frame.height; ++y)
            if (before.empty())
                std::fill_n(at(frame, y), rowSamples(frame), Sample{0});
            else
                std::copy_n(before.begin() + static_cast<std::ptrdiff_t>(rowSamples(frame)) * y, rowSamples(frame),
                            at(frame, y));
    }

    const Apng& animation_;
    const VImage& like_;
    int sourceBands_;
    bool hasSourceAlpha_;
    int bands_;
    PixelBuffer pixels_;
    bool hasShown_ = false;
};

template <class Sample>
std::vector<VImage> framesOf(const ByteSource& file, const Apng& animation, const VImage& like)
{
    Canvas<Sample> canvas{animation, like};
    std::vector<VImage> frames;
    for (const ApngFrame& frame : animation.frames) {
        VImage shown = canvas.show(frame, decodedPng(pngOf(file, animation, frame), VIPS_ACCESS_SEQUENTIAL))
                           .copy(VImage::option()->set("xres", like.xres())->set("yres", like.yres()));
        embedProfile(shown, profileOf(like));
        frames.push_back(shown);
    }
    return frames;
}

Picture readAnimation(const ReadRequest& request, const ByteSource& file, const Apng& animation)
{
    const VImage like = opened(request, "pngload", VIPS_ACCESS_SEQUENTIAL);
    Picture picture{.frames = like.format() == VIPS_FORMAT_USHORT ? framesOf<std::uint16_t>(file, animation, like)
                                                                  : framesOf<std::uint8_t>(file, animation, like),
                    .kind = FrameKind::animation,
                    .loops = animation.plays};
    for (const ApngFrame& frame : animation.frames)
        picture.delays.push_back(shownDelay(frame.milliseconds));
    return picture;
}

/// The picture that programs show which know no animations.
Picture readStill(const ReadRequest& request, const ByteSource& file, int orientation)
{
    if (namesSmallWindow(file) && file.size() <= mostInMemory) {
        const VImage header = opened(request, "pngload", VIPS_ACCESS_SEQUENTIAL);
        requireAcceptableSize(header.width(), header.height(), 1, request.limits);
        const bool isUpright = orientation == 1 && numberField(header, VIPS_META_ORIENTATION, 1) == 1;
        return {.frames = {decodedPng(file.read(0, static_cast<std::size_t>(file.size())),
                                      isUpright ? VIPS_ACCESS_SEQUENTIAL : VIPS_ACCESS_RANDOM)}};
    }
    Picture picture = readSingle(request, "pngload");
    if (orientation != numberField(picture.first(), VIPS_META_ORIENTATION, 1))
        picture.frames[0] = opened(request, "pngload", VIPS_ACCESS_RANDOM).copy();
    return picture;
}

} // namespace

Picture readPng(const ReadRequest& request)
{
    // libvips takes in what is told in front of the pixels; some programs tell of the camera behind them.
    const SharedSource file = openedSource(request);
    Metadata metadata = sorted(readPngMetadata(*file));
    const auto exif = ExifBlock::parse(metadata.exif);
    const auto animation = request.wantsAllFrames ? openApng(*file, request.limits) : std::nullopt;
    Picture picture = animation ? readAnimation(request, *file, *animation)
                                : readStill(request, *file, exif ? exif->orientation() : 1);
    picture.metadata = std::move(metadata);
    const std::string colors = profileOfPngColors(*file);
    for (VImage& frame : picture.frames) {
        if (!colors.empty() && !hasProfile(frame))
            embedProfile(frame, colors);
        if (exif && exif->orientation() != numberField(frame, VIPS_META_ORIENTATION, 1))
            frame.set(VIPS_META_ORIENTATION, exif->orientation());
    }
    return picture;
}

void writePng(const Picture& picture, const WriteRequest& request)
{
    if (picture.kind == FrameKind::animation && picture.frames.size() > 1)
        writeApngFile(picture, request);
    else
        writePngFile(picture.first(), request);
}

} // namespace nivex::image
