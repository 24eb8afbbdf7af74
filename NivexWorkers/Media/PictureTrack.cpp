#include "NivexWorkers/Media/PictureTrack.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

#include <cmath>
#include <new>
#include <string_view>

namespace nivex::media {
namespace {

constexpr std::int64_t mostDamaged = 20; // one packet in so many

/// What an encoder is told besides size and rate. The even quality is the one at which a difference is not seen at the
/// usual distance; its scale is each encoder's own.
struct EncoderSettings {
    std::string_view encoder;
    const char* names[4];
    const char* values[4];
};

// clang-format off
constexpr EncoderSettings settings[] = {
    {"libx264",    {"preset", "crf"}, {"medium", "20"}},
    {"libx265",    {"preset", "crf", "x265-params"}, {"fast", "22", "log-level=none"}},
    {"libvpx-vp9", {"deadline", "crf", "cpu-used", "row-mt"}, {"good", "30", "4", "1"}},
};
// clang-format on

bool isProRes(const AVCodecContext& encoder) { return encoder.codec_id == AV_CODEC_ID_PRORES; }

} // namespace

int rotationOf(const AVStream& stream)
{
    const auto* matrix =
        reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (!matrix)
        return 0;
    const double degrees = av_display_rotation_get(matrix); // counterclockwise, or no number
    return std::isnan(degrees) ? 0 : (static_cast<int>(std::lround(-degrees / 90)) * 90 % 360 + 360) % 360;
}

PictureTrack::PictureTrack(const TrackPlace& place, const AVStream& source, const PictureEncoding& encoding)
    : Track{place, source}, encoding_{encoding}, decoder_{openDecoder()}
{
    openEncoder();
    orUnwritten(avcodec_parameters_from_context(stream().codecpar, encoder_.get()));
    if (encoder_->codec_id == AV_CODEC_ID_HEVC && !place.target.holdsAllSubtitles)
        stream().codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    stream().time_base = encoder_->time_base;
    copyProperties(source, stream(), place.target.holdsRotation);
    stream().avg_frame_rate = encoder_->framerate;
    stream().sample_aspect_ratio = encoder_->sample_aspect_ratio;
}

void PictureTrack::openEncoder()
{
    const AVCodec* codec = avcodec_find_encoder_by_name(encoding_.encoder);
    if (!codec)
        orUnwritten(AVERROR_ENCODER_NOT_FOUND);
    encoder_.reset(avcodec_alloc_context3(codec));
    encoder_->width = encoding_.width;
    encoder_->height = encoding_.height;
    encoder_->pix_fmt = encoding_.pixels;
    const bool isGif = codec->id == AV_CODEC_ID_GIF;
    // Each picture keeps its time, so that a film of changing rate stays what it is.
    encoder_->time_base = isGif ? AVRational{1, 100} : source().time_base;
    encoder_->framerate = av_guess_frame_rate(nullptr, const_cast<AVStream*>(&source()), nullptr);
    encoder_->sample_aspect_ratio = isGif ? AVRational{1, 1} : decoder_->sample_aspect_ratio;
    encoder_->color_primaries = decoder_->color_primaries;
    encoder_->color_trc = decoder_->color_trc;
    encoder_->colorspace = decoder_->colorspace;
    encoder_->color_range = decoder_->color_range;
    encoder_->chroma_sample_location = decoder_->chroma_sample_location;
    encoder_->thread_count = 0;
    if (place().output.container().flags & AVFMT_GLOBALHEADER)
        encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (isProRes(*encoder_))
        encoder_->profile =
            encoding_.pixels == AV_PIX_FMT_YUVA444P10 ? FF_PROFILE_PRORES_4444 : FF_PROFILE_PRORES_STANDARD;
    AVDictionary* asked = nullptr;
    for (const EncoderSettings& each : settings)
        for (int i = 0; each.encoder == encoding_.encoder && i < 4 && each.names[i]; ++i)
            if (encoding_.bitRate == 0 || std::string_view{each.names[i]} != "crf")
                av_dict_set(&asked, each.names[i], each.values[i], 0);
    if (encoding_.bitRate > 0) {
        encoder_->bit_rate = encoding_.bitRate;
        encoder_->rc_max_rate = encoding_.bitRate * 3 / 2;
        encoder_->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(encoding_.bitRate * 2, INT_MAX));
    }
    const int code = avcodec_open2(encoder_.get(), codec, &asked);
    av_dict_free(&asked);
    orUnwritten(code);
}

void PictureTrack::take(AVPacket* packet)
{
    decode(packet);
    if (packet)
        return;
    if (filters_)
        filter(nullptr);
    if (!hasFrames_ || damaged_ > packets_ / mostDamaged + 1)
        orUnreadable(AVERROR_INVALIDDATA);
    encode(*encoder_, nullptr, duration_);
    if (damaged_ > 0)
        place().request.warn("Des images de la vidéo sont abîmées."_fr);
}

void PictureTrack::decode(const AVPacket* packet)
{
    packets_ += packet != nullptr;
    int code = avcodec_send_packet(decoder_.get(), packet);
    const Frame frame{av_frame_alloc()};
    while (code >= 0 && (code = avcodec_receive_frame(decoder_.get(), frame.get())) >= 0) {
        takeFrame(*frame);
        av_frame_unref(frame.get());
    }
    damaged_ += packet && code != AVERROR(EAGAIN) && code != AVERROR_EOF;
}

void PictureTrack::takeFrame(AVFrame& frame)
{
    hasFrames_ = true;
    duration_ = frame.pkt_duration > 0 ? av_rescale_q(frame.pkt_duration, source().time_base, encoder_->time_base)
                                       : av_rescale_q(1, av_inv_q(encoder_->framerate), encoder_->time_base);
    if (!filters_ || frame.width != width_ || frame.height != height_ || frame.format != format_) {
        if (filters_)
            filter(nullptr);
        openFilters(frame);
    }
    frame.pts = frame.best_effort_timestamp;
    filter(&frame);
}

void PictureTrack::openFilters(const AVFrame& frame)
{
    filters_.reset(avfilter_graph_alloc());
    width_ = frame.width;
    height_ = frame.height;
    format_ = frame.format;
    const AVRational base = source().time_base;
    const AVRational shape = frame.sample_aspect_ratio;
    const std::string arguments = "video_size=" + std::to_string(width_) + "x" + std::to_string(height_) +
                                  ":pix_fmt=" + std::to_string(format_) + ":time_base=" + std::to_string(base.num) +
                                  "/" + std::to_string(base.den) + ":pixel_aspect=" + std::to_string(shape.num) + "/" +
                                  std::to_string(std::max(shape.den, 1));
    orUnreadable(avfilter_graph_create_filter(&in_, avfilter_get_by_name("buffer"), "in", arguments.c_str(), nullptr,
                                              filters_.get()));
    orUnreadable(avfilter_graph_create_filter(&out_, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                              filters_.get()));
    AVFilterInOut* ends = avfilter_inout_alloc();
    AVFilterInOut* starts = avfilter_inout_alloc();
    *starts = {.name = av_strdup("in"), .filter_ctx = in_, .pad_idx = 0, .next = nullptr};
    *ends = {.name = av_strdup("out"), .filter_ctx = out_, .pad_idx = 0, .next = nullptr};
    const int code = avfilter_graph_parse_ptr(filters_.get(), filterText(frame).c_str(), &ends, &starts, nullptr);
    avfilter_inout_free(&ends);
    avfilter_inout_free(&starts);
    orUnreadable(code);
    orUnreadable(avfilter_graph_config(filters_.get(), nullptr));
}

std::string PictureTrack::filterText(const AVFrame& frame) const
{
    std::string text;
    if (frame.interlaced_frame)
        text += "bwdif=mode=send_frame:deint=interlaced,";
    if (!place().target.holdsRotation)
        switch (rotationOf(source())) {
        case 90:
            text += "transpose=clock,";
            break;
        case 180:
            text += "hflip,vflip,";
            break;
        case 270:
            text += "transpose=cclock,";
            break;
        default:
            break;
        }
    const bool isGif = encoder_->codec_id == AV_CODEC_ID_GIF;
    if (isGif)
        text += "fps=15,";
    text += "scale=" + std::to_string(encoding_.width) + ":" + std::to_string(encoding_.height) + ":flags=lanczos";
    if (isGif)
        return text + ",split[shown][studied];[studied]palettegen=stats_mode=diff[palette];"
                      "[shown][palette]paletteuse=dither=sierra2_4a:diff_mode=rectangle";
    return text + ",format=" + av_get_pix_fmt_name(encoding_.pixels);
}

void PictureTrack::filter(AVFrame* frame)
{
    orUnreadable(av_buffersrc_add_frame(in_, frame));
    const Frame filtered{av_frame_alloc()};
    int code = 0;
    while ((code = av_buffersink_get_frame(out_, filtered.get())) >= 0) {
        encodeFrame(*filtered);
        av_frame_unref(filtered.get());
    }
    if (code != AVERROR(EAGAIN) && code != AVERROR_EOF)
        orUnreadable(code);
}

void PictureTrack::encodeFrame(AVFrame& frame)
{
    if (frame.pts != AV_NOPTS_VALUE)
        frame.pts = av_rescale_q(frame.pts, av_buffersink_get_time_base(out_), encoder_->time_base) -
                    av_rescale_q(place().start, microseconds, encoder_->time_base);
    else
        frame.pts = last_ == AV_NOPTS_VALUE ? 0 : last_ + 1;
    if (last_ != AV_NOPTS_VALUE && frame.pts <= last_)
        return; // shown for no time at all
    last_ = frame.pts;
    frame.pict_type = AV_PICTURE_TYPE_NONE;
    encode(*encoder_, &frame, duration_);
}

} // namespace nivex::media
