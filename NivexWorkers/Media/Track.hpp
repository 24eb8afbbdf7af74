#pragma once

#include "NivexWorkers/Media/Library.hpp"
#include "NivexWorkers/Media/MediaOutput.hpp"
#include "NivexWorkers/Media/MediaTargets.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"

namespace nivex::media {

/// What the tracks of one result share.
struct TrackPlace {
    const EngineRequest& request;
    const MediaTarget& target;
    MediaOutput& output;
    std::int64_t start; // the moment of the source, in microseconds, that becomes the beginning of the result
};

/// One stream of a result, made of one of the source. It adds the stream when it is made, before the file is begun.
///
/// errors   `unreadableSource` and `encodingFailed`
class Track {
public:
    explicit Track(const TrackPlace& place, const AVStream& source)
        : place_{place}, source_{source}, stream_{place.output.addStream()}
    {
    }
    virtual ~Track() = default;
    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    /// Takes the next packet of the source's stream, which it may change; null after the last.
    virtual void take(AVPacket* packet) = 0;

    AVStream& stream() { return stream_; }

protected:
    const TrackPlace& place() const { return place_; }
    const AVStream& source() const { return source_; }

    /// The place's start in the source's units.
    std::int64_t start() const { return av_rescale_q(place_.start, microseconds, source_.time_base); }

    /// A decoder for the source's stream; threads as the library thinks best.
    CodecContext openDecoder() const;

    /// Sends the encoder a frame, null at the end, and writes all that it has ready. What it gives no duration lasts
    /// `duration`, in its units of time.
    void encode(AVCodecContext& encoder, const AVFrame* frame, std::int64_t duration = 0);

private:
    TrackPlace place_;
    const AVStream& source_;
    AVStream& stream_;
};

/// A stream taken over as it is.
class CopiedTrack : public Track {
public:
    CopiedTrack(const TrackPlace& place, const AVStream& source);
    void take(AVPacket* packet) override;
};

/// What else a stream says of itself, besides its codec: rotation and light, what it is for, the shape of its pixels.
void copyProperties(const AVStream& from, AVStream& to, bool withRotation);

} // namespace nivex::media
