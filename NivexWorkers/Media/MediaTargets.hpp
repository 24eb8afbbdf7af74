#pragma once

#include "NivexWorkers/Media/Library.hpp"

#include <string_view>

namespace nivex::media {

/// How one format of sound or film is written.
struct MediaTarget {
    std::string_view format;
    const char* muxer;
    const char* soundEncoder = nullptr;     // null where the depth of the sound decides, without compression
    bool isBigEndian = false;               // of samples without compression
    bool holdsCover = false;                // as JPEG or PNG
    const char* pictureEncoder = nullptr;   // null for a format of sound
    AVCodecID subtitles = AV_CODEC_ID_NONE; // what subtitles of text become
    bool holdsAllSubtitles = false;         // as they are, those made of pictures too
    bool holdsRotation = false;             // a film may be stored lying and be shown upright
    bool needsPictures = false;             // a file without any is another format
    const char* brand = nullptr;            // by which players know it, where the container has another
};

/// The row of a format, or null where it is not written.
const MediaTarget* mediaTarget(std::string_view format);

} // namespace nivex::media
