#pragma once

#include "NivexWorkers/Media/Track.hpp"

extern "C" {
#include <libavutil/audio_fifo.h>
}

namespace nivex::media {

/// Sound encoded anew: decoded, brought to what the encoder takes, encoded. Samples are counted, so that the result is
/// as long as the sound; where the source has a gap, or cannot be decoded, silence stands. Lossless sound stays the
/// same to the sample where the target holds its depth.
class SoundTrack : public Track {
public:
    /// `bitRate` in bits per second; 0 for what the target and the options say.
    SoundTrack(const TrackPlace& place, const AVStream& source, std::int64_t bitRate = 0);

    void take(AVPacket* packet) override;

private:
    void openEncoder(std::int64_t bitRate);
    void chooseChannels(int most);
    std::int64_t usualRate() const;
    void decode(const AVPacket* packet);
    void takeFrame(const AVFrame& frame);
    void fillGap(const AVFrame& frame);
    void openResampler(const AVFrame& frame);
    void resample(const std::uint8_t** samples, int count);
    void addSilence(std::int64_t count);
    void encodeQueue(bool isEnd);
    Frame newFrame(int count) const;
    void checkDamage() const;

    struct FreeQueue {
        void operator()(AVAudioFifo* queue) const { av_audio_fifo_free(queue); }
    };
    CodecContext decoder_;
    CodecContext encoder_;
    Resampler resampler_;
    std::unique_ptr<AVAudioFifo, FreeQueue> queue_;
    int rate_ = 0; // of what the resampler takes, as are the next two
    int format_ = AV_SAMPLE_FMT_NONE;
    int channels_ = 0;
    std::int64_t queued_ = 0;  // samples, from the beginning of the result
    std::int64_t encoded_ = 0; // likewise
    std::int64_t packets_ = 0;
    std::int64_t damaged_ = 0; // of the packets
    bool hasSound_ = false;
};

} // namespace nivex::media
