#include "NivexWorkers/Media/SubtitleTrack.hpp"

#include <cstring>
#include <new>
#include <vector>

namespace nivex::media {
namespace {

constexpr std::size_t mostBytes = 1 << 20; // of one subtitle, encoded

} // namespace

bool SubtitleTrack::isText(const AVStream& stream)
{
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(stream.codecpar->codec_id);
    return stream.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE && descriptor &&
           (descriptor->props & AV_CODEC_PROP_TEXT_SUB) && avcodec_find_decoder(stream.codecpar->codec_id);
}

SubtitleTrack::SubtitleTrack(const TrackPlace& place, const AVStream& source)
    : Track{place, source}, decoder_{openDecoder()}
{
    const AVCodec* codec = avcodec_find_encoder(place.target.subtitles);
    if (!codec)
        orUnwritten(AVERROR_ENCODER_NOT_FOUND);
    encoder_.reset(avcodec_alloc_context3(codec));
    encoder_->time_base = {1, 1'000};
    if (decoder_->subtitle_header) { // styles, which the library hands on in this form whatever it read
        const auto size = static_cast<std::size_t>(decoder_->subtitle_header_size);
        encoder_->subtitle_header = static_cast<std::uint8_t*>(av_mallocz(size + 1));
        if (!encoder_->subtitle_header)
            throw std::bad_alloc{};
        std::memcpy(encoder_->subtitle_header, decoder_->subtitle_header, size);
        encoder_->subtitle_header_size = decoder_->subtitle_header_size;
    }
    orUnwritten(avcodec_open2(encoder_.get(), codec, nullptr));
    orUnwritten(avcodec_parameters_from_context(stream().codecpar, encoder_.get()));
    stream().time_base = encoder_->time_base;
    stream().disposition = source.disposition;
}

void SubtitleTrack::take(AVPacket* packet)
{
    if (!packet)
        return;
    AVSubtitle subtitle = {};
    int isWhole = 0;
    if (avcodec_decode_subtitle2(decoder_.get(), &subtitle, &isWhole, packet) >= 0 && isWhole)
        write(subtitle, *packet);
    avsubtitle_free(&subtitle);
}

void SubtitleTrack::write(const AVSubtitle& subtitle, const AVPacket& packet)
{
    if (packet.pts == AV_NOPTS_VALUE)
        return;
    std::vector<std::uint8_t> bytes(mostBytes);
    const int size = avcodec_encode_subtitle(encoder_.get(), bytes.data(), static_cast<int>(bytes.size()), &subtitle);
    if (size <= 0)
        return; // no text, or more than anybody reads
    const Packet written{av_packet_alloc()};
    orUnwritten(av_new_packet(written.get(), size));
    std::memcpy(written->data, bytes.data(), static_cast<std::size_t>(size));
    written->pts = written->dts = packet.pts - start();
    written->duration = packet.duration;
    place().output.write(*written, stream(), source().time_base);
}

} // namespace nivex::media
