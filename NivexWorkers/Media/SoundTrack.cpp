#include "NivexWorkers/Media/SoundTrack.hpp"

#include "NivexKit/Engines/Media/MediaFormats.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <new>

namespace nivex::media {
namespace {

constexpr int samplesAtOnce = 4'096;     // where the encoder takes any number
constexpr double shortestGap = 0.25;     // seconds; less is rounding of times, which would only be heard as clicks
constexpr double longestGap = 600;       // seconds; more is a clock that began anew
constexpr std::int64_t mostDamaged = 20; // one packet in so many

/// Depth of the samples of a stream: bits, and whether they are numbers with a point.
struct Depth {
    int bits = 16;
    bool isFloat = false;
};

Depth depthOf(const AVCodecContext& decoder)
{
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(decoder.codec_id);
    const bool isLossless = descriptor && (descriptor->props & AV_CODEC_PROP_LOSSLESS);
    const AVSampleFormat format = av_get_packed_sample_fmt(decoder.sample_fmt);
    if (!isLossless)
        return {};
    if (format == AV_SAMPLE_FMT_FLT || format == AV_SAMPLE_FMT_DBL)
        return {.bits = format == AV_SAMPLE_FMT_DBL ? 64 : 32, .isFloat = true};
    const int bits =
        decoder.bits_per_raw_sample > 0 ? decoder.bits_per_raw_sample : av_get_bytes_per_sample(format) * 8;
    return {.bits = std::max(bits, 16)};
}

const char* sampleEncoder(Depth depth, bool isBigEndian)
{
    if (depth.isFloat)
        return depth.bits > 32 ? (isBigEndian ? "pcm_f64be" : "pcm_f64le") : isBigEndian ? "pcm_f32be" : "pcm_f32le";
    if (depth.bits > 24)
        return isBigEndian ? "pcm_s32be" : "pcm_s32le";
    if (depth.bits > 16)
        return isBigEndian ? "pcm_s24be" : "pcm_s24le";
    return isBigEndian ? "pcm_s16be" : "pcm_s16le";
}

/// Of the encoder's sample formats: the one of whole numbers beyond 16 bits for sound that is deeper, else its first.
AVSampleFormat sampleFormat(const AVCodec& encoder, Depth depth)
{
    for (const AVSampleFormat* format = encoder.sample_fmts; depth.bits > 16 && *format != AV_SAMPLE_FMT_NONE; ++format)
        if (av_get_packed_sample_fmt(*format) == AV_SAMPLE_FMT_S32)
            return *format;
    return encoder.sample_fmts[0];
}

/// The encoder's lowest rate that holds the wanted one, or its highest.
int sampleRate(const AVCodec& encoder, int wanted)
{
    if (!encoder.supported_samplerates)
        return wanted;
    int above = 0;
    int highest = 0;
    for (const int* rate = encoder.supported_samplerates; *rate != 0; ++rate) {
        highest = std::max(highest, *rate);
        if (*rate >= wanted && (above == 0 || *rate < above))
            above = *rate;
    }
    return above != 0 ? above : highest;
}

/// The layout, or the usual one of as many channels where a file does not say which they are.
AVChannelLayout known(const AVChannelLayout& layout)
{
    AVChannelLayout result = {};
    if (layout.order == AV_CHANNEL_ORDER_NATIVE)
        result = layout; // of this order a copy holds nothing of its own
    else
        av_channel_layout_default(&result, layout.nb_channels);
    return result;
}

} // namespace

SoundTrack::SoundTrack(const TrackPlace& place, const AVStream& source, std::int64_t bitRate)
    : Track{place, source}, decoder_{openDecoder()}
{
    if (decoder_->sample_rate <= 0 || decoder_->ch_layout.nb_channels <= 0)
        orUnreadable(AVERROR_INVALIDDATA);
    openEncoder(bitRate);
    orUnwritten(avcodec_parameters_from_context(stream().codecpar, encoder_.get()));
    stream().time_base = encoder_->time_base;
    stream().disposition = source.disposition;
    queue_.reset(av_audio_fifo_alloc(encoder_->sample_fmt, encoder_->ch_layout.nb_channels, samplesAtOnce));
    if (!queue_)
        throw std::bad_alloc{};
    if (source.start_time != AV_NOPTS_VALUE)
        queued_ = encoded_ =
            std::max<std::int64_t>(0, av_rescale_q(source.start_time - start(), source.time_base, encoder_->time_base));
}

void SoundTrack::openEncoder(std::int64_t bitRate)
{
    const MediaTarget& target = place().target;
    const Depth depth = depthOf(*decoder_);
    const AVCodec* codec = avcodec_find_encoder_by_name(target.soundEncoder ? target.soundEncoder
                                                                            : sampleEncoder(depth, target.isBigEndian));
    if (!codec)
        orUnwritten(AVERROR_ENCODER_NOT_FOUND);
    encoder_.reset(avcodec_alloc_context3(codec));
    encoder_->sample_rate = sampleRate(*codec, decoder_->sample_rate);
    encoder_->sample_fmt = sampleFormat(*codec, depth);
    encoder_->time_base = {1, encoder_->sample_rate};
    chooseChannels(mediaFormat(target.format)->mostChannels);
    if (av_get_packed_sample_fmt(encoder_->sample_fmt) == AV_SAMPLE_FMT_S32)
        encoder_->bits_per_raw_sample = target.soundEncoder ? 24 : std::max(24, depth.bits);
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec->id);
    if (target.soundEncoder && (descriptor->props & AV_CODEC_PROP_LOSSLESS) && (depth.isFloat || depth.bits > 24))
        place().request.warn("Le son a plus de 24 bits : il a été ramené à 24 bits."_fr);
    encoder_->bit_rate = bitRate > 0 ? bitRate : usualRate();
    encoder_->flags |= AV_CODEC_FLAG_BITEXACT;
    if (place().output.container().flags & AVFMT_GLOBALHEADER)
        encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    orUnwritten(avcodec_open2(encoder_.get(), codec, nullptr));
}

void SoundTrack::chooseChannels(int most)
{
    const int channels = decoder_->ch_layout.nb_channels;
    const bool isCompressed = place().target.soundEncoder != nullptr;
    if (channels > most || isCompressed) // encoders want the usual layouts
        av_channel_layout_default(&encoder_->ch_layout, channels <= most ? channels : 2);
    else
        orUnwritten(av_channel_layout_copy(&encoder_->ch_layout, &decoder_->ch_layout));
}

/// Bits per second. What a person asks for is meant for two channels.
std::int64_t SoundTrack::usualRate() const
{
    const int channels = encoder_->ch_layout.nb_channels;
    switch (encoder_->codec_id) {
    case AV_CODEC_ID_AAC:
        return place().request.options.audioBitRate * channels / 2;
    case AV_CODEC_ID_OPUS:
        return std::int64_t{80'000} * channels;
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_VORBIS:
        return std::int64_t{encoder_->sample_rate < 32'000 ? 64'000 : 128'000} * channels;
    default:
        return 0;
    }
}

void SoundTrack::take(AVPacket* packet)
{
    decode(packet);
    if (packet)
        return;
    if (resampler_)
        resample(nullptr, 0);
    encodeQueue(true);
    checkDamage();
}

void SoundTrack::decode(const AVPacket* packet)
{
    packets_ += packet != nullptr;
    int code = avcodec_send_packet(decoder_.get(), packet);
    const Frame frame{av_frame_alloc()};
    while (code >= 0 && (code = avcodec_receive_frame(decoder_.get(), frame.get())) >= 0)
        takeFrame(*frame);
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF || !packet)
        return;
    ++damaged_;
    if (hasSound_ && packet->duration > 0)
        addSilence(av_rescale_q(packet->duration, source().time_base, encoder_->time_base));
}

void SoundTrack::checkDamage() const
{
    if (packets_ > 0 && !hasSound_ && damaged_ == 0)
        throw ConversionError::unreadableSource("le fichier ne contient aucun son"_fr);
    if (!hasSound_ || damaged_ > packets_ / mostDamaged + 1)
        orUnreadable(AVERROR_INVALIDDATA);
    if (damaged_ > 0)
        place().request.warn("Des passages du son sont abîmés : ils ont été remplacés par du silence."_fr);
}

void SoundTrack::takeFrame(const AVFrame& frame)
{
    if (frame.nb_samples <= 0 || frame.sample_rate <= 0)
        return;
    hasSound_ = true;
    if (!resampler_ || frame.sample_rate != rate_ || frame.format != format_ ||
        frame.ch_layout.nb_channels != channels_)
        openResampler(frame);
    fillGap(frame);
    resample(const_cast<const std::uint8_t**>(frame.extended_data), frame.nb_samples);
    encodeQueue(false);
}

void SoundTrack::fillGap(const AVFrame& frame)
{
    if (frame.best_effort_timestamp == AV_NOPTS_VALUE)
        return;
    const std::int64_t wanted =
        av_rescale_q(frame.best_effort_timestamp - start(), source().time_base, encoder_->time_base);
    const std::int64_t arrived = queued_ + swr_get_delay(resampler_.get(), encoder_->sample_rate);
    const double gap = secondsOf(wanted - arrived, encoder_->time_base);
    if (gap > shortestGap && gap < longestGap)
        addSilence(wanted - arrived);
}

void SoundTrack::openResampler(const AVFrame& frame)
{
    if (resampler_)
        resample(nullptr, 0);
    AVChannelLayout from = known(frame.ch_layout);
    AVChannelLayout to = known(encoder_->ch_layout);
    SwrContext* made = nullptr;
    orUnreadable(swr_alloc_set_opts2(&made, &to, encoder_->sample_fmt, encoder_->sample_rate, &from,
                                     static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr));
    resampler_.reset(made);
    orUnreadable(swr_init(made));
    rate_ = frame.sample_rate;
    format_ = frame.format;
    channels_ = frame.ch_layout.nb_channels;
}

void SoundTrack::resample(const std::uint8_t** samples, int count)
{
    const int room = swr_get_out_samples(resampler_.get(), count);
    orUnreadable(room);
    if (room == 0)
        return;
    const Frame out = newFrame(room);
    const int got = swr_convert(resampler_.get(), out->extended_data, room, samples, count);
    orUnreadable(got);
    if (av_audio_fifo_write(queue_.get(), reinterpret_cast<void**>(out->extended_data), got) < got)
        throw std::bad_alloc{};
    queued_ += got;
}

void SoundTrack::addSilence(std::int64_t count)
{
    while (count > 0) {
        const int some = static_cast<int>(std::min<std::int64_t>(count, samplesAtOnce));
        const Frame frame = newFrame(some);
        av_samples_set_silence(frame->extended_data, 0, some, encoder_->ch_layout.nb_channels, encoder_->sample_fmt);
        if (av_audio_fifo_write(queue_.get(), reinterpret_cast<void**>(frame->extended_data), some) < some)
            throw std::bad_alloc{};
        queued_ += some;
        count -= some;
        encodeQueue(false);
    }
}

Frame SoundTrack::newFrame(int count) const
{
    Frame frame{av_frame_alloc()};
    if (!frame)
        throw std::bad_alloc{};
    frame->nb_samples = count;
    frame->format = encoder_->sample_fmt;
    frame->sample_rate = encoder_->sample_rate;
    orUnwritten(av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout));
    orUnwritten(av_frame_get_buffer(frame.get(), 0));
    return frame;
}

void SoundTrack::encodeQueue(bool isEnd)
{
    const int whole = encoder_->frame_size > 0 ? encoder_->frame_size : samplesAtOnce;
    while (av_audio_fifo_size(queue_.get()) >= whole || (isEnd && av_audio_fifo_size(queue_.get()) > 0)) {
        const Frame frame = newFrame(std::min(whole, av_audio_fifo_size(queue_.get())));
        av_audio_fifo_read(queue_.get(), reinterpret_cast<void**>(frame->extended_data), frame->nb_samples);
        frame->pts = encoded_;
        encoded_ += frame->nb_samples;
        encode(*encoder_, frame.get());
    }
    if (isEnd && hasSound_)
        encode(*encoder_, nullptr);
}

} // namespace nivex::media
