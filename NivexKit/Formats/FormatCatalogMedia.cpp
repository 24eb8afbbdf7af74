#include "NivexKit/Formats/FormatCatalog.hpp"

namespace nivex {
namespace {

using enum FormatTrait;

// clang-format off
constexpr FormatRow audioRows[] = {
    {.id = "mp3", .name = "MP3", .longName = "MPEG-1 Audio Layer III"_fr,
     .typeIdentifiers = "public.mp3", .traits = lossy},
    {.id = "wav", .name = "WAV", .extensions = "wav wave",
     .typeIdentifiers = "com.microsoft.waveform-audio", .traits = lossless},
    {.id = "aiff", .name = "AIFF", .longName = "Audio Interchange File Format"_fr, .extensions = "aiff aif aifc",
     .typeIdentifiers = "public.aiff-audio public.aifc-audio", .traits = lossless},
    {.id = "flac", .name = "FLAC", .longName = "Free Lossless Audio Codec"_fr,
     .typeIdentifiers = "org.xiph.flac", .traits = lossless},
    {.id = "alac", .name = "ALAC", .extensions = "m4a alac", .traits = lossless | contentDetectedOnly},
    {.id = "aac", .name = "AAC", .longName = "Advanced Audio Coding (flux brut)"_fr, .extensions = "aac adts",
     .typeIdentifiers = "public.aac-audio", .traits = lossy},
    {.id = "m4a", .name = "M4A", .extensions = "m4a m4b",
     .typeIdentifiers = "com.apple.m4a-audio public.mpeg-4-audio", .traits = lossy},
    {.id = "ogg", .name = "OGG", .extensions = "ogg oga",
     .typeIdentifiers = "org.xiph.ogg-audio org.xiph.ogg-vorbis", .traits = lossy},
    {.id = "opus", .name = "Opus", .typeIdentifiers = "org.xiph.opus", .traits = lossy},
    {.id = "wma", .name = "WMA", .longName = "Windows Media Audio"_fr,
     .typeIdentifiers = "com.microsoft.windows-media-wma", .traits = lossy | proprietary},
    {.id = "amr", .name = "AMR", .longName = "Adaptive Multi-Rate"_fr,
     .typeIdentifiers = "org.3gpp.adaptive-multi-rate-audio", .traits = lossy},
    {.id = "midi", .name = "MIDI", .longName = "Musical Instrument Digital Interface"_fr, .extensions = "mid midi",
     .typeIdentifiers = "public.midi-audio"},
    {.id = "caf", .name = "CAF", .longName = "Core Audio Format"_fr,
     .typeIdentifiers = "com.apple.coreaudio-format", .traits = lossy | lossless},
};

constexpr FormatRow videoRows[] = {
    {.id = "mp4", .name = "MP4", .longName = "MPEG-4"_fr, .typeIdentifiers = "public.mpeg-4", .traits = lossy},
    {.id = "mov", .name = "MOV", .longName = "QuickTime"_fr, .extensions = "mov qt",
     .typeIdentifiers = "com.apple.quicktime-movie", .traits = lossy | lossless | transparency},
    {.id = "mkv", .name = "MKV", .typeIdentifiers = "org.matroska.mkv", .traits = lossy | container},
    {.id = "avi", .name = "AVI", .longName = "Audio Video Interleave"_fr,
     .typeIdentifiers = "public.avi", .traits = lossy},
    {.id = "webm", .name = "WebM", .typeIdentifiers = "org.webmproject.webm", .traits = lossy | transparency},
    {.id = "wmv", .name = "WMV", .longName = "Windows Media Video"_fr,
     .typeIdentifiers = "com.microsoft.windows-media-wmv", .traits = lossy | proprietary},
    {.id = "flv", .name = "FLV", .typeIdentifiers = "com.adobe.flash.video", .traits = lossy},
    {.id = "m4v", .name = "M4V", .longName = "Vidéo MPEG-4 Apple"_fr,
     .typeIdentifiers = "com.apple.m4v-video", .traits = lossy},
    {.id = "mpeg", .name = "MPEG", .longName = "MPEG-1 / MPEG-2"_fr, .extensions = "mpeg mpg m2v",
     .typeIdentifiers = "public.mpeg public.mpeg-2-video", .traits = lossy},
    {.id = "mpeg-ts", .name = "TS", .longName = "Flux de transport MPEG-2"_fr, .extensions = "ts",
     .typeIdentifiers = "public.mpeg-2-transport-stream", .traits = lossy | contentDetectedOnly},
    {.id = "m2ts", .name = "M2TS", .longName = "AVCHD / Blu-ray"_fr, .extensions = "m2ts mts",
     .typeIdentifiers = "public.avchd-mpeg-2-transport-stream", .traits = lossy},
    {.id = "3gp", .name = "3GP", .longName = "3GPP"_fr, .extensions = "3gp 3g2",
     .typeIdentifiers = "public.3gpp public.3gpp2", .traits = lossy},
    {.id = "vob", .name = "VOB", .longName = "DVD Video Object"_fr, .traits = lossy},
};

constexpr FormatRow subtitleRows[] = {
    {.id = "srt", .name = "SRT", .longName = "SubRip"_fr, .traits = text},
    {.id = "vtt", .name = "VTT", .longName = "WebVTT"_fr, .typeIdentifiers = "org.w3.webvtt", .traits = text},
    {.id = "ass", .name = "ASS", .longName = "Advanced SubStation Alpha"_fr, .traits = text},
    {.id = "ssa", .name = "SSA", .longName = "SubStation Alpha"_fr, .traits = text},
    {.id = "sub", .name = "SUB", .longName = "MicroDVD / VobSub"_fr},
    {.id = "lrc", .name = "LRC", .longName = "Paroles synchronisées"_fr, .traits = text},
};

constexpr FormatRow projectRows[] = {
    {.id = "prproj", .name = "PRPROJ", .longName = "Projet Premiere Pro"_fr, .traits = proprietary},
    {.id = "aep", .name = "AEP", .longName = "Projet After Effects"_fr, .traits = proprietary},
    {.id = "aepx", .name = "AEPX", .longName = "Projet After Effects XML"_fr, .traits = text | proprietary},
    {.id = "fcpbundle", .name = "FCPBUNDLE", .longName = "Bibliothèque Final Cut Pro"_fr,
     .traits = proprietary | bundle},
    {.id = "logicx", .name = "LOGICX", .longName = "Projet Logic Pro"_fr, .traits = proprietary | bundle},
    {.id = "band", .name = "BAND", .longName = "Projet GarageBand"_fr,
     .typeIdentifiers = "com.apple.garageband.project", .traits = proprietary | bundle},
    {.id = "als", .name = "ALS", .longName = "Projet Ableton Live"_fr, .traits = proprietary},
    {.id = "flp", .name = "FLP", .longName = "Projet FL Studio"_fr, .traits = proprietary},
};

// clang-format on
static_assert(everyIdOnce(audioRows) && everyIdOnce(videoRows) && everyIdOnce(subtitleRows) &&
              everyIdOnce(projectRows));

} // namespace

constinit const std::span<const FormatRow> FormatCatalog::audio{audioRows};
constinit const std::span<const FormatRow> FormatCatalog::video{videoRows};
constinit const std::span<const FormatRow> FormatCatalog::subtitles{subtitleRows};
constinit const std::span<const FormatRow> FormatCatalog::projects{projectRows};

} // namespace nivex
