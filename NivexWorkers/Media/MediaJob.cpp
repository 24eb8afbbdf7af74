#include "NivexWorkers/Media/MediaJob.hpp"

#include "NivexWorkers/Media/SoundTrack.hpp"
#include "NivexWorkers/Media/SubtitleTrack.hpp"
#include "NivexWorkers/Media/Tags.hpp"

#include "NivexKit/Engines/Media/MediaFormats.hpp"
#include "NivexKit/Engines/Media/MediaLosses.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>

namespace nivex::media {
namespace {

constexpr double mostSecondsMissing = 0.25; // of what the file announces: encoders' padding and rounded headers

const MediaTarget& targetOf(const EngineRequest& request)
{
    const MediaTarget* target = mediaTarget(request.targetFormat.id.rawValue);
    if (!target)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    return *target;
}

bool isHighDynamicRange(const AVCodecParameters& parameters)
{
    return parameters.color_trc == AVCOL_TRC_SMPTE2084 || parameters.color_trc == AVCOL_TRC_ARIB_STD_B67;
}

int even(double length) { return std::max(2, static_cast<int>(std::lround(length / 2)) * 2); }

} // namespace

MediaJob::MediaJob(const EngineRequest& request, const ProgressCallback& progress, const std::filesystem::path& file,
                   std::optional<FilmRates> rates)
    : request_{request}, progress_{progress}, target_{targetOf(request)}, rates_{rates},
      input_{MediaInput::open(request.input, request.sourceFormat.id.rawValue)}, output_{file, target_.muxer},
      taken_(input_.streams().size())
{
}

std::int64_t MediaJob::run()
{
    start_ = startOfResult();
    chooseTracks();
    addTags();
    addCover();
    output_.begin(target_.brand);
    writeCover();
    readAll();
    output_.finish();
    return output_.size();
}

/// A film begins with the earliest of its streams, so that sound and pictures keep their distance; sound alone begins
/// with itself.
std::int64_t MediaJob::startOfResult() const
{
    const AVStream* only = !isFilm() ? input_.best(AVMEDIA_TYPE_AUDIO)
                           : isGif() ? input_.best(AVMEDIA_TYPE_VIDEO)
                                     : nullptr;
    return only ? av_rescale_q(orZero(only->start_time), only->time_base, microseconds)
                : orZero(input_.context().start_time);
}

void MediaJob::chooseTracks()
{
    // Where only the length of the whole is known, all streams tell whether it was reached.
    for (AVStream* stream : input_.streams())
        stream->discard = input_.announcesEachStream() ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
    if (isFilm())
        choosePicture();
    if (!isGif())
        chooseSound();
    if (isFilm() && !isGif())
        chooseSubtitles();
    if (std::ranges::none_of(taken_, [](const Taken& each) { return each.track != nullptr; }))
        throw ConversionError::unreadableSource(isFilm()     ? "aucune piste vidéo lisible"_fr
                                                : hasSound() ? "aucune piste audio lisible"_fr
                                                             : "le fichier ne contient aucun son"_fr);
}

bool MediaJob::hasSound() const
{
    return std::ranges::any_of(
        input_.streams(), [](const AVStream* stream) { return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO; });
}

void MediaJob::take(const AVStream& stream, std::unique_ptr<Track> track)
{
    input_.streams()[static_cast<std::size_t>(stream.index)]->discard = AVDISCARD_DEFAULT;
    copyTags(stream.metadata, track->stream().metadata, request_.options.metadata);
    taken_[static_cast<std::size_t>(stream.index)].track = std::move(track);
}

void MediaJob::choosePicture()
{
    const AVStream* stream = input_.best(AVMEDIA_TYPE_VIDEO);
    if (!stream && (target_.needsPictures || isGif()))
        throw ConversionError::unreadableSource("le fichier n'a pas d'image : il ne contient que du son"_fr);
    if (!stream)
        return;
    const TrackPlace place{request_, target_, output_, start_};
    if (fitsPicture(*stream))
        take(*stream, std::make_unique<CopiedTrack>(place, *stream));
    else
        take(*stream, std::make_unique<PictureTrack>(place, *stream, encodingOf(*stream)));
}

void MediaJob::chooseSound()
{
    const AVStream* best = input_.best(AVMEDIA_TYPE_AUDIO);
    const TrackPlace place{request_, target_, output_, start_};
    for (const AVStream* stream : input_.streams()) {
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO || !MediaInput::isDecodable(stream))
            continue;
        if (!isFilm() && stream != best) {
            request_.warn("Le fichier a plusieurs pistes audio : seule la principale est conservée."_fr);
            continue;
        }
        if (fitsSound(*stream))
            take(*stream, std::make_unique<CopiedTrack>(place, *stream));
        else
            take(*stream, std::make_unique<SoundTrack>(place, *stream, rates_ ? rates_->sound : 0));
    }
}

void MediaJob::chooseSubtitles()
{
    const TrackPlace place{request_, target_, output_, start_};
    for (const AVStream* stream : input_.streams()) {
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_SUBTITLE)
            continue;
        if (stream->codecpar->codec_id == target_.subtitles ||
            (target_.holdsAllSubtitles &&
             avformat_query_codec(&output_.container(), stream->codecpar->codec_id, FF_COMPLIANCE_NORMAL) == 1))
            take(*stream, std::make_unique<CopiedTrack>(place, *stream));
        else if (SubtitleTrack::isText(*stream))
            take(*stream, std::make_unique<SubtitleTrack>(place, *stream));
        else
            request_.warn("Des sous-titres faits d'images n'ont pas pu être conservés dans ce format."_fr);
    }
}

bool MediaJob::fitsSound(const AVStream& stream) const
{
    const AVCodecParameters& sound = *stream.codecpar;
    if (!mediaFormat(target_.format)->copies(avcodec_get_name(sound.codec_id)) ||
        avformat_query_codec(&output_.container(), sound.codec_id, FF_COMPLIANCE_NORMAL) == 0)
        return false;
    if (rates_)
        return sound.bit_rate > 0 && sound.bit_rate <= rates_->sound;
    const std::int64_t asked = request_.options.audioBitRate;
    return target_.format != "m4a" || asked == ConversionOptions{}.audioBitRate ||
           (sound.bit_rate > 0 && sound.bit_rate <= asked);
}

bool MediaJob::fitsPicture(const AVStream& stream) const
{
    const AVCodecParameters& picture = *stream.codecpar;
    const MediaFormat* format = mediaFormat(target_.format);
    const bool isShrunk = request_.sourceFormat.id == request_.targetFormat.id;
    return format && !rates_ && !isShrunk && std::min(picture.width, picture.height) <= mostPixelsOf() &&
           keepsPictures(avcodec_get_name(picture.codec_id), *format, request_.options) &&
           (target_.holdsRotation || rotationOf(stream) == 0) &&
           avformat_query_codec(&output_.container(), picture.codec_id, FF_COMPLIANCE_NORMAL) != 0;
}

/// On the shorter side.
std::int64_t MediaJob::mostPixelsOf() const
{
    const std::int64_t asked = mostPixels(request_.options.videoQuality).value_or(INT32_MAX);
    return rates_ ? std::min(asked, rates_->pixels) : asked;
}

PictureEncoding MediaJob::encodingOf(const AVStream& stream) const
{
    const AVCodecParameters& picture = *stream.codecpar;
    const int turns = target_.holdsRotation ? 0 : rotationOf(stream);
    const int width = turns % 180 == 0 ? picture.width : picture.height;
    const int height = turns % 180 == 0 ? picture.height : picture.width;
    if (width <= 0 || height <= 0)
        orUnreadable(AVERROR_INVALIDDATA);
    double scale = std::min(1.0, static_cast<double>(mostPixelsOf()) / std::min(width, height));
    if (isGif())
        scale = std::min(1.0, static_cast<double>(request_.options.maxPixelDimension.value_or(gifPixels)) /
                                  std::max(width, height));
    PictureEncoding encoding{.encoder = target_.pictureEncoder, .bitRate = rates_ ? rates_->picture : 0};
    encoding.width = even(width * scale);
    encoding.height = even(height * scale);
    if (isGif()) {
        encoding.pixels = AV_PIX_FMT_PAL8;
        return encoding;
    }
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    const bool isDeep = pixels && pixels->comp[0].depth > 8;
    const VideoCodec wanted = request_.options.videoCodec;
    if (target_.format == "webm") {
        if (wanted != VideoCodec::h264)
            request_.warn("Une vidéo WebM est toujours encodée en VP9 : le codec demandé n'a pas été utilisé."_fr);
        return encoding;
    }
    if (wanted == VideoCodec::prores422 || wanted == VideoCodec::prores4444) {
        encoding.encoder = "prores_aw"; // five times as fast as the other one, and takes transparency too
        encoding.pixels = wanted == VideoCodec::prores422 ? AV_PIX_FMT_YUV422P10 : AV_PIX_FMT_YUVA444P10;
    } else if (wanted == VideoCodec::hevc || isHighDynamicRange(picture)) {
        encoding.encoder = "libx265";
        encoding.pixels = isDeep ? AV_PIX_FMT_YUV420P10 : AV_PIX_FMT_YUV420P;
        if (wanted != VideoCodec::hevc)
            request_.warn("La vidéo HDR a été encodée en HEVC : H.264 en perdrait la dynamique."_fr);
    }
    return encoding;
}

void MediaJob::addTags()
{
    const AVFormatContext& from = input_.context();
    copyTags(from.metadata, output_.context().metadata, request_.options.metadata);
    if (!isFilm()) // the tags of Ogg stand at the stream
        for (const AVStream* stream : input_.streams())
            if (taken_[static_cast<std::size_t>(stream->index)].track)
                copyTags(stream->metadata, output_.context().metadata, request_.options.metadata);
    if (!isGif())
        copyChapters(from, output_.context(), start_, request_.options.metadata);
}

/// The picture of a record's sleeve, or null.
const AVStream* MediaJob::cover() const
{
    const auto streams = input_.streams();
    const auto found = std::ranges::find_if(streams, [](const AVStream* stream) {
        return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) && stream->attached_pic.size > 0;
    });
    return found == streams.end() ? nullptr : *found;
}

void MediaJob::addCover()
{
    const AVStream* found = cover();
    if (!found || isGif() || request_.options.metadata == MetadataPolicy::removeAll)
        return;
    const AVCodecID codec = found->codecpar->codec_id;
    const bool isPicture = (codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_PNG) && found->codecpar->width > 0;
    if (!target_.holdsCover || !isPicture) {
        request_.warn("La pochette n'a pas pu être conservée dans ce format."_fr);
        return;
    }
    coverStream_ = &output_.addStream();
    orUnwritten(avcodec_parameters_copy(coverStream_->codecpar, found->codecpar));
    coverStream_->codecpar->codec_tag = 0;
    coverStream_->disposition = AV_DISPOSITION_ATTACHED_PIC;
    coverStream_->time_base = {1, 90'000};
}

void MediaJob::writeCover()
{
    if (!coverStream_)
        return;
    const Packet packet{av_packet_clone(&cover()->attached_pic)};
    packet->pts = packet->dts = 0;
    output_.write(*packet, *coverStream_, coverStream_->time_base);
}

void MediaJob::readAll()
{
    const Packet packet{av_packet_alloc()};
    while (readPacket(*packet)) {
        Taken& taken = taken_[static_cast<std::size_t>(packet->stream_index)];
        noteEnd(*packet, taken);
        if (isGif() && taken.end > ConversionLoss::gifMaximumSeconds)
            break;
        if (taken.track) {
            report(*packet);
            ++taken.packets;
            taken.track->take(packet.get());
        }
        av_packet_unref(packet.get());
    }
    for (const Taken& taken : taken_)
        if (taken.track)
            taken.track->take(nullptr);
    checkLengths();
}

void MediaJob::noteEnd(const AVPacket& packet, Taken& taken)
{
    const AVStream& stream = *input_.streams()[static_cast<std::size_t>(packet.stream_index)];
    const std::int64_t time = packet.pts == AV_NOPTS_VALUE ? packet.dts : packet.pts;
    if (time == AV_NOPTS_VALUE)
        return;
    const double end = secondsOf(time + packet.duration, stream.time_base);
    taken.end = std::max(taken.end, end - secondsOf(orZero(stream.start_time), stream.time_base));
    longest_ = std::max({longest_, end, taken.end});
}

bool MediaJob::readPacket(AVPacket& packet)
{
    const int code = av_read_frame(&input_.context(), &packet);
    if (code >= 0)
        return true;
    if (code != AVERROR_EOF)
        orUnreadable(code);
    if (input_.wasCut())
        orUnreadable(AVERROR(EIO));
    return false;
}

void MediaJob::report(const AVPacket& packet) const
{
    const AVFormatContext& context = input_.context();
    const bool isGuessed = context.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
    double whole = isGuessed ? 0 : secondsOf(orZero(context.duration), microseconds);
    if (isGif())
        whole =
            std::min<double>(whole > 0 ? whole : ConversionLoss::gifMaximumSeconds, ConversionLoss::gifMaximumSeconds);
    if (whole <= 0 || packet.pts == AV_NOPTS_VALUE)
        return progress_(std::nullopt);
    const AVRational base = input_.streams()[static_cast<std::size_t>(packet.stream_index)]->time_base;
    const double seconds = secondsOf(packet.pts, base) - secondsOf(start_, microseconds);
    progress_(std::clamp(seconds / whole, 0.0, 1.0));
}

/// Each stream by what the container says of it; else the longest of all by what it says of the whole.
void MediaJob::checkLengths() const
{
    if (isGif())
        return;
    for (const AVStream* stream : input_.streams()) {
        const Taken& taken = taken_[static_cast<std::size_t>(stream->index)];
        if (!taken.track || stream->codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE)
            continue;
        if (taken.end < input_.announcedSeconds(*stream) - mostSecondsMissing)
            orUnreadable(AVERROR_EOF);
        if (taken.packets == 0)
            throw ConversionError::unreadableSource("le fichier est vide"_fr);
    }
    if (!input_.announcesEachStream() && longest_ < input_.announcedSeconds() - mostSecondsMissing)
        orUnreadable(AVERROR_EOF);
}

} // namespace nivex::media
