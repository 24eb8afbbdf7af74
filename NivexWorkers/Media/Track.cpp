#include "NivexWorkers/Media/Track.hpp"

#include <cstring>
#include <new>

namespace nivex::media {
namespace {

/// Players of Apple's know HEVC by this tag alone; other streams keep theirs where the container has it, for it may say
/// more than the codec.
std::uint32_t tagOf(const AVCodecParameters& parameters, const AVOutputFormat& container)
{
    const bool isMov = std::string_view{container.name} == "mov" || std::string_view{container.name} == "mp4";
    if (parameters.codec_id == AV_CODEC_ID_HEVC && isMov)
        return MKTAG('h', 'v', 'c', '1');
    return container.codec_tag && av_codec_get_id(container.codec_tag, parameters.codec_tag) == parameters.codec_id
               ? parameters.codec_tag
               : 0;
}

} // namespace

CodecContext Track::openDecoder() const
{
    const AVCodec* codec = avcodec_find_decoder(source_.codecpar->codec_id);
    CodecContext decoder{avcodec_alloc_context3(codec)};
    if (!decoder)
        throw std::bad_alloc{};
    orUnreadable(avcodec_parameters_to_context(decoder.get(), source_.codecpar));
    decoder->pkt_timebase = source_.time_base;
    decoder->thread_count = source_.codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? 0 : 1;
    orUnreadable(avcodec_open2(decoder.get(), codec, nullptr));
    return decoder;
}

void Track::encode(AVCodecContext& encoder, const AVFrame* frame, std::int64_t duration)
{
    orUnwritten(avcodec_send_frame(&encoder, frame));
    const Packet packet{av_packet_alloc()};
    int code = 0;
    while ((code = avcodec_receive_packet(&encoder, packet.get())) >= 0) {
        if (packet->duration == 0)
            packet->duration = duration;
        place_.output.write(*packet, stream_, encoder.time_base);
    }
    if (code != AVERROR(EAGAIN) && code != AVERROR_EOF)
        orUnwritten(code);
}

CopiedTrack::CopiedTrack(const TrackPlace& place, const AVStream& source) : Track{place, source}
{
    orUnwritten(avcodec_parameters_copy(stream().codecpar, source.codecpar));
    stream().codecpar->codec_tag = tagOf(*source.codecpar, place.output.container());
    stream().time_base = source.time_base;
    copyProperties(source, stream(), true);
}

void CopiedTrack::take(AVPacket* packet)
{
    if (!packet)
        return;
    if (packet->pts != AV_NOPTS_VALUE)
        packet->pts -= start();
    if (packet->dts != AV_NOPTS_VALUE)
        packet->dts -= start();
    place().output.write(*packet, stream(), source().time_base);
}

void copyProperties(const AVStream& from, AVStream& to, bool withRotation)
{
    to.disposition = from.disposition;
    to.avg_frame_rate = from.avg_frame_rate;
    to.sample_aspect_ratio = from.sample_aspect_ratio;
    for (int i = 0; i < from.nb_side_data; ++i) {
        const AVPacketSideData& data = from.side_data[i];
        const bool isOfCodec = data.type == AV_PKT_DATA_CPB_PROPERTIES;
        if (isOfCodec || (data.type == AV_PKT_DATA_DISPLAYMATRIX && !withRotation))
            continue;
        std::uint8_t* copy = av_stream_new_side_data(&to, data.type, data.size);
        if (!copy)
            throw std::bad_alloc{};
        std::memcpy(copy, data.data, data.size);
    }
}

} // namespace nivex::media
