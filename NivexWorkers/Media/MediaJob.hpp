#pragma once

#include "NivexWorkers/Media/MediaInput.hpp"
#include "NivexWorkers/Media/PictureTrack.hpp"
#include "NivexWorkers/Media/Track.hpp"

#include <optional>
#include <vector>

namespace nivex::media {

/// At what rates a film is encoded to come out at a size.
struct FilmRates {
    std::int64_t picture = 0; // bits per second
    std::int64_t sound = 0;   // bits per second and track; streams of no more are taken over
    std::int64_t pixels = 0;  // at most on the shorter side
};

/// One file being made of another, once: the streams chosen, read from the first to the last, and written. One thread
/// of its own; codecs take more.
class MediaJob {
public:
    /// With `rates`, everything that could be smaller is encoded at them.
    MediaJob(const EngineRequest& request, const ProgressCallback& progress, const std::filesystem::path& file,
             std::optional<FilmRates> rates = std::nullopt);

    /// Throws `unreadableSource`, `encodingFailed`. Returns how many bytes were written.
    std::int64_t run();

    const MediaInput& input() const { return input_; }

private:
    struct Taken {
        std::unique_ptr<Track> track; // null for a stream that is left out
        double end = 0;               // of what was read, in seconds since the stream began
        std::int64_t packets = 0;
    };

    bool isFilm() const { return target_.pictureEncoder != nullptr; }
    bool isGif() const { return request_.targetFormat.id == "gif"; }
    std::int64_t startOfResult() const;
    void chooseTracks();
    bool hasSound() const; // of any kind, readable or not
    void take(const AVStream& stream, std::unique_ptr<Track> track);
    void choosePicture();
    void chooseSound();
    void chooseSubtitles();
    bool fitsSound(const AVStream& stream) const;
    bool fitsPicture(const AVStream& stream) const;
    PictureEncoding encodingOf(const AVStream& stream) const;
    std::int64_t mostPixelsOf() const;
    void addTags();
    const AVStream* cover() const;
    void addCover();
    void writeCover();
    void readAll();
    void noteEnd(const AVPacket& packet, Taken& taken);
    bool readPacket(AVPacket& packet);
    void report(const AVPacket& packet) const;
    void checkLengths() const;

    const EngineRequest& request_;
    const ProgressCallback& progress_;
    const MediaTarget& target_;
    std::optional<FilmRates> rates_;
    MediaInput input_;
    MediaOutput output_;
    std::vector<Taken> taken_; // by stream of the input
    std::int64_t start_ = 0;   // microseconds
    AVStream* coverStream_ = nullptr;
    double longest_ = 0; // the latest end in any stream of what was read, in seconds
};

} // namespace nivex::media
