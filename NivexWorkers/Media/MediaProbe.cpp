#include "NivexWorkers/Media/MediaProbe.hpp"

#include "NivexWorkers/Media/MediaInput.hpp"
#include "NivexWorkers/Media/PictureTrack.hpp"
#include "NivexWorkers/Media/Tags.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace nivex::media {
namespace {

void measureFilm(const AVStream& film, SourceProperties& found)
{
    const AVCodecParameters& parameters = *film.codecpar;
    found.videoCodec = avcodec_get_name(parameters.codec_id);
    const bool isTurned = rotationOf(film) % 180 != 0;
    if (parameters.width > 0 && parameters.height > 0) {
        found.pixelWidth = isTurned ? parameters.height : parameters.width;
        found.pixelHeight = isTurned ? parameters.width : parameters.height;
    }
    if (const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(parameters.format)))
        found.hasAlpha = (pixels->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

void measureSound(const AVStream& sound, SourceProperties& found)
{
    const AVCodecParameters& parameters = *sound.codecpar;
    found.audioChannelCount = parameters.ch_layout.nb_channels;
    // Of compressed sound the library tells a depth that is its own.
    const int exact = av_get_exact_bits_per_sample(parameters.codec_id);
    if (const int depth = parameters.bits_per_raw_sample > 0 ? parameters.bits_per_raw_sample : exact; depth > 0)
        found.audioBitDepth = depth;
}

} // namespace

SourceProperties probeMedia(const EngineRequest& request)
{
    const MediaInput input = MediaInput::open(request.input, request.sourceFormat.id.rawValue);
    const AVStream* sound = input.best(AVMEDIA_TYPE_AUDIO);
    const AVStream* film = input.best(AVMEDIA_TYPE_VIDEO);
    SourceProperties found{.hasLocation = namesPlace(input.context().metadata),
                           .hasVideoTrack = film != nullptr,
                           .hasAudioTrack = sound != nullptr};
    if (input.context().duration > 0)
        found.durationSeconds = secondsOf(input.context().duration, microseconds);
    if (film)
        measureFilm(*film, found);
    if (sound)
        measureSound(*sound, found);
    return found;
}

} // namespace nivex::media
