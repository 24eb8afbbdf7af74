#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// One format of sound or film. The declaration derives edges and losses from it, and the work is held to it.
struct MediaFormat {
    std::string_view id;
    bool isFilm = false;
    bool isWritten = false;
    bool isCompressed = false; // what is encoded in it loses something
    int mostChannels = 8;      // of sound, that are written; sound of more is mixed to two
    /// The codecs whose streams its players expect there, so that they are taken over as they are. They are named as in
    /// measurements; "pcm" is every kind of samples without compression.
    std::span<const std::string_view> copied = {};
    /// The codec of the sound that files of the format usually have, which is not measured.
    std::string_view usualSound = {};

    bool copies(std::string_view codec) const;
};

/// Every format of sound and film that is read, in the order of the catalogue.
std::span<const MediaFormat> mediaFormats();

/// The row of a format, or null.
const MediaFormat* mediaFormat(std::string_view id);

} // namespace nivex
