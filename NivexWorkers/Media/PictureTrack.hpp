#pragma once

#include "NivexWorkers/Media/Track.hpp"

extern "C" {
#include <libavfilter/avfilter.h>
}

#include <string>

namespace nivex::media {

/// How the pictures of a film are encoded anew.
struct PictureEncoding {
    const char* encoder;
    int width = 0; // as stored, and as shown where the target holds no rotation
    int height = 0;
    AVPixelFormat pixels = AV_PIX_FMT_YUV420P;
    std::int64_t bitRate = 0; // bits per second; 0 for an even quality
};

/// The pictures of a film encoded anew: decoded, made progressive, scaled, turned where the target cannot say that they
/// are to be, encoded. Each keeps its own time.
class PictureTrack : public Track {
public:
    PictureTrack(const TrackPlace& place, const AVStream& source, const PictureEncoding& encoding);

    void take(AVPacket* packet) override;

private:
    void openEncoder();
    void decode(const AVPacket* packet);
    void takeFrame(AVFrame& frame);
    void openFilters(const AVFrame& frame);
    std::string filterText(const AVFrame& frame) const;
    void filter(AVFrame* frame);
    void encodeFrame(AVFrame& frame);

    PictureEncoding encoding_;
    CodecContext decoder_;
    CodecContext encoder_;
    std::unique_ptr<AVFilterGraph, Release<avfilter_graph_free>> filters_;
    AVFilterContext* in_ = nullptr; // of the graph, as is the next
    AVFilterContext* out_ = nullptr;
    int width_ = 0; // of what the filters take, as are the next two
    int height_ = 0;
    int format_ = AV_PIX_FMT_NONE;
    std::int64_t last_ = AV_NOPTS_VALUE; // time of the last frame that was encoded, in the encoder's units
    std::int64_t duration_ = 0;          // of the last frame that was decoded, likewise
    std::int64_t packets_ = 0;
    std::int64_t damaged_ = 0; // of the packets
    bool hasFrames_ = false;
};

/// By how many degrees, clockwise, a player turns the pictures of a stream: 0, 90, 180 or 270.
int rotationOf(const AVStream& stream);

} // namespace nivex::media
