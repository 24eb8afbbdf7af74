#include "NivexWorkers/Media/MediaTargets.hpp"

#include <algorithm>
#include <iterator>

namespace nivex::media {
namespace {

// clang-format off
constexpr MediaTarget targets[] = {
    {.format = "mp3",  .muxer = "mp3",  .soundEncoder = "libmp3lame", .holdsCover = true},
    {.format = "wav",  .muxer = "wav"},
    {.format = "aiff", .muxer = "aiff", .isBigEndian = true},
    {.format = "flac", .muxer = "flac", .soundEncoder = "flac", .holdsCover = true},
    {.format = "alac", .muxer = "ipod", .soundEncoder = "alac", .holdsCover = true},
    {.format = "m4a",  .muxer = "ipod", .soundEncoder = "aac", .holdsCover = true},
    {.format = "ogg",  .muxer = "ogg",  .soundEncoder = "libvorbis"},
    {.format = "opus", .muxer = "opus", .soundEncoder = "libopus"},
    {.format = "caf",  .muxer = "caf"},
    {.format = "mp4",  .muxer = "mp4",  .soundEncoder = "aac", .holdsCover = true, .pictureEncoder = "libx264",
     .subtitles = AV_CODEC_ID_MOV_TEXT, .holdsRotation = true, .needsPictures = true},
    {.format = "mov",  .muxer = "mov",  .soundEncoder = "aac", .pictureEncoder = "libx264",
     .subtitles = AV_CODEC_ID_MOV_TEXT, .holdsRotation = true},
    {.format = "mkv",  .muxer = "matroska", .soundEncoder = "aac", .pictureEncoder = "libx264",
     .subtitles = AV_CODEC_ID_SUBRIP, .holdsAllSubtitles = true},
    {.format = "webm", .muxer = "webm", .soundEncoder = "libopus", .pictureEncoder = "libvpx-vp9",
     .subtitles = AV_CODEC_ID_WEBVTT},
    {.format = "m4v",  .muxer = "mp4",  .soundEncoder = "aac", .holdsCover = true, .pictureEncoder = "libx264",
     .subtitles = AV_CODEC_ID_MOV_TEXT, .holdsRotation = true, .needsPictures = true, .brand = "M4V "},
    {.format = "gif",  .muxer = "gif",  .pictureEncoder = "gif"},
};
// clang-format on

} // namespace

const MediaTarget* mediaTarget(std::string_view format)
{
    const auto found = std::ranges::find(targets, format, &MediaTarget::format);
    return found == std::end(targets) ? nullptr : &*found;
}

} // namespace nivex::media
