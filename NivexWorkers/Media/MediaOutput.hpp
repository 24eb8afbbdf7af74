#pragma once

#include "NivexWorkers/Media/Library.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace nivex::media {

/// A file of sound or film being written: streams are added, the file begun, packets written, the file finished. It is
/// removed again unless it was finished. One thread.
///
/// errors   every member throws `encodingFailed` where the volume is full or the container does not take what it is
/// given
class MediaOutput {
public:
    /// `muxer` is the library's name of the container.
    MediaOutput(const std::filesystem::path& file, const char* muxer);
    ~MediaOutput();
    MediaOutput(const MediaOutput&) = delete;
    MediaOutput& operator=(const MediaOutput&) = delete;

    AVFormatContext& context() { return *context_; }
    const AVOutputFormat& container() const { return *context_->oformat; }
    AVStream& addStream();

    /// Ends the declaration of streams; the container may change their units of time. `brand` is by what players know
    /// the format, where the container writes several.
    void begin(const char* brand = nullptr);

    /// Writes a packet whose times are in the units of `base`, and takes its contents. Its times must not fall behind
    /// those of earlier packets of the stream by more than the container's own order of packets needs: decoding times
    /// that do not rise are raised.
    void write(AVPacket& packet, const AVStream& stream, AVRational base);

    /// How many bytes were written so far.
    std::int64_t size() const { return static_cast<std::int64_t>(bytes_->size); }

    void finish();

private:
    struct Bytes {
        std::optional<NewFile> file;
        std::uint64_t position = 0;
        std::uint64_t size = 0;
        std::exception_ptr failure; // of a write: the library in between is C
    };

    void check(int code) const;
    static int writeBytes(void* bytes, std::uint8_t* buffer, int size);
    static std::int64_t seekBytes(void* bytes, std::int64_t offset, int whence);

    std::unique_ptr<Bytes> bytes_;
    Channel channel_;
    AVFormatContext* context_ = nullptr;
    std::vector<std::int64_t> lastDecodingTimes_; // by stream
};

} // namespace nivex::media
