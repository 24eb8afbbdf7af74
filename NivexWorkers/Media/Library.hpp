#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <cstdint>
#include <memory>

/// What the library of codecs and containers lends is given back by itself, and what it refuses is thrown.
namespace nivex::media {

template <auto release>
struct Release {
    template <class T>
    void operator()(T* object) const
    {
        release(&object);
    }
};
using Packet = std::unique_ptr<AVPacket, Release<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Release<av_frame_free>>;
using CodecContext = std::unique_ptr<AVCodecContext, Release<avcodec_free_context>>;
using Resampler = std::unique_ptr<SwrContext, Release<swr_free>>;

/// The size of the buffers between containers and files.
constexpr int channelBytes = 64 * 1'024;

/// The bytes of a container, behind functions of ours.
struct FreeChannel {
    void operator()(AVIOContext* channel) const
    {
        av_freep(&channel->buffer); // the library may have replaced the one it was given
        avio_context_free(&channel);
    }
};
using Channel = std::unique_ptr<AVIOContext, FreeChannel>;

/// Throws `unreadableSource` for a negative code of the library, with its message as the cause.
void orUnreadable(int code);

/// Throws `encodingFailed` for a negative code of the library, with its message as the cause.
void orUnwritten(int code);

/// The units of a container's own times.
constexpr AVRational microseconds{1, AV_TIME_BASE};

/// A time in units of `base`, in seconds.
inline double secondsOf(std::int64_t time, AVRational base) { return static_cast<double>(time) * av_q2d(base); }

/// A time that may be missing, which is 0.
inline std::int64_t orZero(std::int64_t time) { return time == AV_NOPTS_VALUE ? 0 : time; }

} // namespace nivex::media
