#pragma once

#include "NivexWorkers/Media/Library.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace nivex::media {

/// A file of sound or film, opened for reading: its streams are known, nothing is decoded. Only this one file is ever
/// read, whatever it names: there is no protocol, and the container is the one that detection found rather than one
/// that the library guesses, so that a play list under another name is a broken file. One thread.
class MediaInput {
public:
    /// Throws `unreadableSource` where the file cannot be read as the given format of the catalogue, has no stream that
    /// can be decoded, or is protected; `unsupported` for a format that has no reader.
    static MediaInput open(const std::filesystem::path& file, std::string_view format);

    AVFormatContext& context() const { return *context_; }
    std::span<AVStream* const> streams() const { return {context_->streams, context_->nb_streams}; }

    /// The stream that a player would choose, or null. Cover art is no film.
    const AVStream* best(AVMediaType type) const;

    /// Whether the library can decode a stream, of sound or moving pictures, and found out what it needs to.
    static bool isDecodable(const AVStream* stream);

    /// How long the container says that the longest of its streams lasts, in seconds; 0 where it says nothing.
    double announcedSeconds() const { return announced_; }

    /// How long the container says that a stream lasts, in seconds; 0 where it says nothing of this one.
    double announcedSeconds(const AVStream& stream) const;

    /// Whether it does so of every stream of sound and pictures.
    bool announcesEachStream() const;

    /// Whether bytes that the file has could not be read: another program shortened it, or the disk failed. A result
    /// made of it would be shorter than its source.
    bool wasCut() const { return bytes_->wasCut; }

private:
    struct Bytes {
        explicit Bytes(FileSource source) : file{std::move(source)} {}

        FileSource file;
        std::uint64_t position = 0;
        bool wasCut = false;
    };
    struct CloseInput {
        void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    };

    explicit MediaInput(FileSource file);

    void openAs(std::string_view format);
    void noteAnnouncedLengths();
    void refuseCut() const;
    void refuseProtected() const;
    void refuseEmpty() const;

    static int readBytes(void* bytes, std::uint8_t* buffer, int size);
    static std::int64_t seekBytes(void* bytes, std::int64_t offset, int whence);

    // In this order: the context reads through the channel until it is closed, and the channel from the bytes.
    std::unique_ptr<Bytes> bytes_;
    Channel channel_;
    std::unique_ptr<AVFormatContext, CloseInput> context_;
    double announced_ = 0;
    std::vector<double> announcedOfStreams_;
};

} // namespace nivex::media
