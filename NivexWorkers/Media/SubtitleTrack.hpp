#pragma once

#include "NivexWorkers/Media/Track.hpp"

namespace nivex::media {

/// Subtitles of text, in the form of text that the target has.
class SubtitleTrack : public Track {
public:
    SubtitleTrack(const TrackPlace& place, const AVStream& source);

    void take(AVPacket* packet) override;

    /// Whether the subtitles of a stream are text that can be read: others are pictures.
    static bool isText(const AVStream& stream);

private:
    void write(const AVSubtitle& subtitle, const AVPacket& packet);

    CodecContext decoder_;
    CodecContext encoder_;
};

} // namespace nivex::media
