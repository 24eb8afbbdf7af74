#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>
#include <optional>

namespace nivex::inspectors {
namespace {

using Candidates = std::vector<FormatID>;

/// What the tracks of a file are.
struct Tracks {
    bool hasVideo = false;
    bool hasAudio = false;
    std::vector<std::string> codecs; // four characters each
};

void readTrack(const HeaderBytes& file, const IsoBox& track, Tracks& tracks)
{
    if (const auto handler = findBox(file, track, {boxType("mdia"), boxType("hdlr")})) {
        tracks.hasVideo = tracks.hasVideo || file.hasText(handler->begin + 8, "vide");
        tracks.hasAudio = tracks.hasAudio || file.hasText(handler->begin + 8, "soun");
    }
    constexpr std::uint64_t firstCodec = 12; // behind version, flags, count and the size of the first description
    if (const auto codecs = findBox(file, track, {boxType("mdia"), boxType("minf"), boxType("stbl"), boxType("stsd")}))
        tracks.codecs.push_back(textAt(file, codecs->begin + firstCodec, 4));
}

Tracks tracksOf(const HeaderBytes& file)
{
    Tracks tracks;
    if (const auto movie = findBox(file, {.begin = 0, .end = file.size()}, {boxType("moov")})) {
        IsoBoxes parts{file, *movie};
        while (const auto part = parts.next())
            if (part->type == boxType("trak"))
                readTrack(file, *part, tracks);
    }
    return tracks;
}

bool isProtected(const Tracks& tracks)
{
    constexpr std::string_view codecs[] = {"encv", "enca", "drms", "drmi"};
    return std::any_of(tracks.codecs.begin(), tracks.codecs.end(), [&](const std::string& codec) {
        return std::find(std::begin(codecs), std::end(codecs), codec) != std::end(codecs);
    });
}

/// For a file whose brand leaves open whether it is a film or sound, and in which dialect.
std::optional<Candidates> fromTracks(const Tracks& tracks, bool declaresBrand)
{
    const bool isLossless = std::find(tracks.codecs.begin(), tracks.codecs.end(), "alac") != tracks.codecs.end();
    if (tracks.hasVideo && declaresBrand)
        return Candidates{"mp4", "m4v", "mov", "3gp", "m4a"};
    if (tracks.hasVideo)
        return Candidates{"mov", "mp4", "m4v", "3gp"};
    if (!tracks.hasAudio)
        return std::nullopt;
    if (isLossless)
        return Candidates{"alac", "mov"};
    return Candidates{"m4a", "mov", "3gp", "m4v"};
}

} // namespace

Finding isoMedia(const ByteSource& source, const SniffResult& sniff)
{
    constexpr std::string_view pictures[] = {"heic", "heif", "avif", "jp2", "cr3"};
    const FormatID first = sniff.candidates.empty() ? FormatID{} : sniff.candidates.front();
    if (std::find(std::begin(pictures), std::end(pictures), first.rawValue) != std::end(pictures))
        return {};
    const Tracks tracks = tracksOf(HeaderBytes{source, {}});
    Finding finding{.isEncrypted = isProtected(tracks)};
    const bool holdsLossless = std::find(tracks.codecs.begin(), tracks.codecs.end(), "alac") != tracks.codecs.end();
    const bool declaresBrand = textAt(source, 4, 4) == "ftyp";
    if (first == "m4a")
        finding.candidates = Candidates{holdsLossless ? "alac" : "m4a"};
    else if (first == "m4v")
        finding.candidates = Candidates{"m4v", "mp4"};
    else if (first == "3gp") // telephones name their films .mp4
        finding.candidates = Candidates{"3gp", "mp4"};
    else if (first != "mov")
        finding.candidates = fromTracks(tracks, declaresBrand);
    return finding;
}

} // namespace nivex::inspectors
