#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <optional>

namespace nivex::inspectors {
namespace {

using Candidates = std::vector<FormatID>;

// Boxes looked at in all, before the walk gives up.
constexpr int maxBoxes = 2'048;

struct Extent {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

struct Box {
    std::string type;
    Extent content;
};

/// What the tracks of a file are.
struct Tracks {
    bool hasVideo = false;
    bool hasAudio = false;
    std::vector<std::string> codecs; // four characters each
};

/// Walks the boxes of a file by reading their headers only.
class BoxWalk {
public:
    explicit BoxWalk(const ByteSource& source) : source_{source} {}

    Tracks tracks()
    {
        each({0, source_.size()}, [&](const Box& box) {
            if (box.type == "moov")
                each(box.content, [&](const Box& part) {
                    if (part.type == "trak")
                        readTrack(part.content);
                });
        });
        return tracks_;
    }

private:
    template <class Visit>
    void each(Extent within, Visit visit)
    {
        std::uint64_t offset = within.begin;
        while (within.end - offset >= 8 && ++visited_ < maxBoxes) {
            const auto bytes = source_.read(offset, std::size_t{16});
            ByteReader header{bytes, ByteOrder::big};
            std::uint64_t size = header.u32();
            Box box{.type = std::string{header.text(4)}, .content = {}};
            const std::uint64_t headerSize = size == 1 ? 16 : 8;
            if (size == 1)
                size = header.u64();
            else if (size == 0)
                size = within.end - offset;
            if (header.failed() || size < headerSize || size > within.end - offset)
                return;
            box.content = {offset + headerSize, offset + size};
            visit(box);
            offset += size;
        }
    }

    void readTrack(Extent track)
    {
        each(track, [&](const Box& box) {
            if (box.type == "mdia" || box.type == "minf" || box.type == "stbl")
                readTrack(box.content);
            else if (box.type == "hdlr")
                readHandler(box.content);
            else if (box.type == "stsd")
                readDescription(box.content);
        });
    }

    void readHandler(Extent handler)
    {
        const std::string type = textAt(source_, handler.begin + 8, 4);
        tracks_.hasVideo = tracks_.hasVideo || type == "vide";
        tracks_.hasAudio = tracks_.hasAudio || type == "soun";
    }

    void readDescription(Extent description) { tracks_.codecs.push_back(textAt(source_, description.begin + 12, 4)); }

    const ByteSource& source_;
    int visited_ = 0;
    Tracks tracks_;
};

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
        return Candidates{"alac", "mp4", "mov"};
    return Candidates{"m4a", "mp4", "mov", "3gp", "m4v"};
}

} // namespace

Finding isoMedia(const ByteSource& source, const SniffResult& sniff)
{
    constexpr std::string_view pictures[] = {"heic", "heif", "avif", "jp2", "cr3"};
    const FormatID first = sniff.candidates.empty() ? FormatID{} : sniff.candidates.front();
    if (std::find(std::begin(pictures), std::end(pictures), first.rawValue) != std::end(pictures))
        return {};
    const Tracks tracks = BoxWalk{source}.tracks();
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
