#include "NivexWorkers/Media/MediaOutput.hpp"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace nivex::media {

MediaOutput::MediaOutput(const std::filesystem::path& file, const char* muxer)
    : bytes_{std::make_unique<Bytes>()}, channel_{avio_alloc_context(
                                             static_cast<unsigned char*>(av_malloc(channelBytes)), int{channelBytes}, 1,
                                             bytes_.get(), nullptr, writeBytes, seekBytes)}
{
    bytes_->file.emplace(file);
    orUnwritten(avformat_alloc_output_context2(&context_, nullptr, muxer, nullptr));
    context_->pb = channel_.get();
    context_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT; // no mark of the program that wrote it
}

MediaOutput::~MediaOutput() { avformat_free_context(context_); }

AVStream& MediaOutput::addStream()
{
    AVStream* stream = avformat_new_stream(context_, nullptr);
    if (!stream)
        throw std::bad_alloc{};
    lastDecodingTimes_.push_back(AV_NOPTS_VALUE);
    return *stream;
}

void MediaOutput::begin(const char* brand)
{
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "brand", brand, 0);
    av_dict_set(&settings, "rf64", "auto", 0);     // WAV beyond 4 GB
    av_dict_set(&settings, "write_id3v2", "1", 0); // AIFF keeps its tags there
    const int code = avformat_write_header(context_, &settings);
    av_dict_free(&settings);
    check(code);
}

void MediaOutput::write(AVPacket& packet, const AVStream& stream, AVRational base)
{
    av_packet_rescale_ts(&packet, base, stream.time_base);
    packet.stream_index = stream.index;
    packet.pos = -1;
    std::int64_t& last = lastDecodingTimes_[static_cast<std::size_t>(stream.index)];
    if (packet.dts != AV_NOPTS_VALUE) {
        if (last != AV_NOPTS_VALUE && packet.dts <= last)
            packet.dts = last + 1;
        if (packet.pts != AV_NOPTS_VALUE)
            packet.pts = std::max(packet.pts, packet.dts);
        last = packet.dts;
    }
    check(av_interleaved_write_frame(context_, &packet));
}

void MediaOutput::finish()
{
    check(av_write_trailer(context_));
    avio_flush(channel_.get());
    check(channel_->error);
    bytes_->file->finish();
}

void MediaOutput::check(int code) const
{
    if (bytes_->failure)
        std::rethrow_exception(bytes_->failure);
    orUnwritten(code);
}

int MediaOutput::writeBytes(void* opaque, std::uint8_t* buffer, int size)
{
    Bytes& bytes = *static_cast<Bytes*>(opaque);
    try {
        bytes.file->writeAt(bytes.position, {reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(size)});
    } catch (...) {
        bytes.failure = std::current_exception();
        return AVERROR(EIO);
    }
    bytes.position += static_cast<std::uint64_t>(size);
    bytes.size = std::max(bytes.size, bytes.position);
    return size;
}

std::int64_t MediaOutput::seekBytes(void* opaque, std::int64_t offset, int whence)
{
    Bytes& bytes = *static_cast<Bytes*>(opaque);
    const auto size = static_cast<std::int64_t>(bytes.size);
    if (whence & AVSEEK_SIZE)
        return size;
    const std::int64_t from = whence == SEEK_CUR   ? static_cast<std::int64_t>(bytes.position)
                              : whence == SEEK_END ? size
                                                   : 0;
    if (offset < -from)
        return AVERROR(EINVAL);
    bytes.position = static_cast<std::uint64_t>(from + offset);
    return static_cast<std::int64_t>(bytes.position);
}

} // namespace nivex::media
