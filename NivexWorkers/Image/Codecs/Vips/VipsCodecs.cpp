// The formats that libvips reads and writes itself, row by row where the format allows.
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Pixels/Colors.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

/// Half the time of the encoder's own choice (4) for files 3 or 4 % larger: docs/decisions/picture-speed.md.
constexpr int webpEffort = 2;

/// By how much a JPEG may be made smaller while it is decoded, which saves most of the work. At least twice what is
/// needed is left for the filter that does the rest.
int shrinkWhileDecoding(const VImage& header, std::int64_t longestSide)
{
    const int side = std::max(header.width(), header.height());
    for (const int shrink : {8, 4, 2})
        if (longestSide > 0 && side / shrink >= 2 * longestSide)
            return shrink;
    return 1;
}

/// libjpeg reads 8 bits, coded with loss, the usual way or arithmetically (ITU-T T.81, table B.1).
void requireDecodableJpeg(const ReadRequest& request)
{
    constexpr std::string_view decodable{"\xC0\xC1\xC2\xC9\xCA"};
    constexpr std::string_view noFrames{"\xC4\xC8\xCC"}; // tables
    const auto file = FileSource::open(request.file);
    if (!file)
        throw damaged(cannotOpen);
    JpegSegments segments{*file};
    while (const auto segment = segments.next()) {
        const auto marker = static_cast<char>(segment->marker);
        if (segment->marker < 0xC0 || segment->marker > 0xCF || noFrames.find(marker) != noFrames.npos)
            continue;
        const std::vector<std::byte> bits = file->read(segment->data(), 1);
        if (decodable.find(marker) == decodable.npos || (!bits.empty() && bits[0] != std::byte{8}))
            throw ConversionError::unsupported("les fichiers JPEG sans perte ou de plus de 8 bits par composante"_fr);
    }
}

std::vector<int> delays(const VImage& strip, std::size_t count)
{
    std::vector<int> delays;
    if (strip.get_typeof("delay"))
        delays = strip.get_array_int("delay");
    delays.resize(count);
    std::ranges::transform(delays, delays.begin(), shownDelay);
    return delays;
}

/// A GIF or WebP file: one picture or an animation.
Picture readAnimation(const ReadRequest& request, const char* loader)
{
    const VImage header = opened(request, loader, VIPS_ACCESS_SEQUENTIAL);
    const int count = request.wantsAllFrames ? numberField(header, VIPS_META_N_PAGES, 1) : 1;
    requireAcceptableSize(header.width(), header.height(), count, request.limits);
    if (count == 1)
        return readSingle(request, loader);

    const VImage strip = opened(request, loader, VIPS_ACCESS_RANDOM, VImage::option()->set("n", -1));
    Picture picture{.kind = FrameKind::animation,
                    .delays = delays(strip, static_cast<std::size_t>(count)),
                    .loops = numberField(strip, "loop", 0)};
    const int height = strip.height() / count;
    for (int i = 0; i < count; ++i) {
        VImage frame = strip.extract_area(0, i * height, strip.width(), height);
        frame.remove(VIPS_META_PAGE_HEIGHT);
        picture.frames.push_back(frame);
    }
    return picture;
}

/// The frames of an animation as the tall strip that libvips' writers take.
VImage animationStrip(const Picture& picture)
{
    if (picture.kind != FrameKind::animation || picture.frames.size() == 1)
        return picture.first();
    VImage strip = VImage::arrayjoin(picture.frames, VImage::option()->set("across", 1)).copy();
    strip.set(VIPS_META_PAGE_HEIGHT, picture.first().height());
    strip.set("delay", picture.delays);
    strip.set("loop", picture.loops);
    return strip;
}

} // namespace

Picture readJpeg(const ReadRequest& request)
{
    requireDecodableJpeg(request);
    const VImage header = opened(request, "jpegload", VIPS_ACCESS_SEQUENTIAL);
    requireAcceptableSize(header.width(), header.height(), 1, request.limits);
    return {
        .frames = {openedForOnePass(request, "jpegload", header, shrinkWhileDecoding(header, request.longestSide))}};
}

Picture readGif(const ReadRequest& request) { return readAnimation(request, "gifload"); }

Picture readWebp(const ReadRequest& request) { return readAnimation(request, "webpload"); }

Picture readHdr(const ReadRequest& request)
{
    Picture picture = readSingle(request, "radload");
    picture.frames[0] = picture.first().rad2float();
    return picture;
}

void writeJpeg(const Picture& picture, const WriteRequest& request)
{
    save(picture.first(), request, "jpegsave", VImage::option()->set("Q", percent(request.quality)));
}

void writeGif(const Picture& picture, const WriteRequest& request)
{
    save(animationStrip(picture), request, "gifsave", VImage::option()->set("effort", 4));
}

void writeWebp(const Picture& picture, const WriteRequest& request)
{
    save(animationStrip(picture), request, "webpsave",
         VImage::option()
             ->set("Q", percent(request.quality))
             ->set("lossless", request.quality >= 1.0)
             ->set("effort", webpEffort));
}

void writeHdr(const Picture& picture, const WriteRequest& request)
{
    save(inLinearLight(picture.first()), request, "radsave", VImage::option());
}

} // namespace nivex::image
