#include "NivexKit/Engines/Media/MediaFormats.hpp"

#include <algorithm>
#include <iterator>

namespace nivex {
namespace {

constexpr std::string_view mp3[] = {"mp3"};
constexpr std::string_view alac[] = {"alac"};
constexpr std::string_view aac[] = {"aac"};
constexpr std::string_view vorbis[] = {"vorbis"};
constexpr std::string_view opus[] = {"opus"};
constexpr std::string_view ofMp4[] = {"h264", "hevc", "mpeg4", "aac", "mp3", "ac3", "eac3", "alac"};
constexpr std::string_view ofMov[] = {"h264", "hevc", "mpeg4", "prores", "mjpeg", "aac",
                                      "mp3",  "ac3",  "eac3",  "alac",   "pcm"};
constexpr std::string_view ofM4v[] = {"h264", "hevc", "mpeg4", "aac", "ac3"};
constexpr std::string_view ofMkv[] = {"h264",   "hevc",   "mpeg4", "mpeg2video", "vp8",    "vp9",  "av1",
                                      "prores", "theora", "aac",   "mp3",        "mp2",    "ac3",  "eac3",
                                      "dts",    "truehd", "flac",  "alac",       "vorbis", "opus", "pcm"};
constexpr std::string_view ofWebm[] = {"vp8", "vp9", "av1", "vorbis", "opus"};

// clang-format off
constexpr MediaFormat formats[] = {
    {.id = "mp3",  .isWritten = true, .isCompressed = true, .mostChannels = 2, .copied = mp3, .usualSound = "mp3"},
    {.id = "wav",  .isWritten = true, .usualSound = "pcm"},
    {.id = "aiff", .isWritten = true, .usualSound = "pcm"},
    {.id = "flac", .isWritten = true, .usualSound = "flac"},
    {.id = "alac", .isWritten = true, .copied = alac, .usualSound = "alac"},
    {.id = "aac",  .usualSound = "aac"},
    {.id = "m4a",  .isWritten = true, .isCompressed = true, .mostChannels = 6, .copied = aac, .usualSound = "aac"},
    {.id = "ogg",  .isWritten = true, .isCompressed = true, .copied = vorbis, .usualSound = "vorbis"},
    {.id = "opus", .isWritten = true, .isCompressed = true, .copied = opus, .usualSound = "opus"},
    {.id = "wma",  .usualSound = "wma"},
    {.id = "amr",  .usualSound = "amr"},
    {.id = "caf",  .isWritten = true, .usualSound = "pcm"},
    {.id = "mp4",  .isFilm = true, .isWritten = true, .isCompressed = true, .mostChannels = 6, .copied = ofMp4,
     .usualSound = "aac"},
    {.id = "mov",  .isFilm = true, .isWritten = true, .isCompressed = true, .mostChannels = 6, .copied = ofMov,
     .usualSound = "aac"},
    {.id = "mkv",  .isFilm = true, .isWritten = true, .isCompressed = true, .mostChannels = 6, .copied = ofMkv,
     .usualSound = "aac"},
    {.id = "avi",  .isFilm = true, .usualSound = "pcm"},
    {.id = "webm", .isFilm = true, .isWritten = true, .isCompressed = true, .mostChannels = 8, .copied = ofWebm,
     .usualSound = "opus"},
    {.id = "wmv",  .isFilm = true, .usualSound = "wma"},
    {.id = "flv",  .isFilm = true, .usualSound = "aac"},
    {.id = "m4v",  .isFilm = true, .isWritten = true, .isCompressed = true, .mostChannels = 6, .copied = ofM4v,
     .usualSound = "aac"},
    {.id = "mpeg", .isFilm = true, .usualSound = "mp2"},
    {.id = "mpeg-ts", .isFilm = true, .usualSound = "mp2"},
    {.id = "m2ts", .isFilm = true, .usualSound = "ac3"},
    {.id = "3gp",  .isFilm = true, .usualSound = "aac"},
    {.id = "vob",  .isFilm = true, .usualSound = "ac3"},
};
// clang-format on

} // namespace

bool MediaFormat::copies(std::string_view codec) const
{
    return std::ranges::find(copied, codec.starts_with("pcm_") ? "pcm" : codec) != copied.end();
}

std::span<const MediaFormat> mediaFormats() { return formats; }

const MediaFormat* mediaFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &MediaFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
