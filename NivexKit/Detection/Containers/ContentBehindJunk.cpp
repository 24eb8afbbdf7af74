#include "NivexKit/Detection/Containers/ContentBehindJunk.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Detection/Signatures/BinaryShapes.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// A sound stream behind the silence, the titles or the drawing that recorders and people put in front: players look
/// for the first frames.
std::optional<SniffResult> soundBehindAnything(const ByteSource& source)
{
    constexpr std::size_t mostJunk = 64 << 10;
    constexpr std::size_t longestFrames = 8 << 10;
    constexpr int enough = 5; // no other file of that length has so many by chance
    const auto bytes = source.read(0, mostJunk + longestFrames);
    const std::span searched{bytes};
    for (auto lead = bytes.begin(); (lead = std::find(lead, bytes.end(), std::byte{0xFF})) != bytes.end(); ++lead)
        if (shapes::hasMpegAudioFrames(searched.subspan(static_cast<std::size_t>(lead - bytes.begin())), enough))
            return SniffResult{.candidates = {"mp3"}, .container = {}};
    return std::nullopt;
}

std::optional<SniffResult> archiveBehindAnything(const ByteSource& source)
{
    try {
        const auto entries = ZipArchive::Reader::centralDirectory(source, ZipArchive::Reader::Purpose::listing);
        if (!entries.empty())
            return SniffResult{.candidates = {"zip"}, .container = ContainerKind::zip};
    } catch (const ConversionError&) { // no archive then
    }
    return std::nullopt;
}

} // namespace

std::optional<SniffResult> contentBehindJunk(const ByteSource& source)
{
    auto sound = soundBehindAnything(source);
    return sound ? sound : archiveBehindAnything(source);
}

} // namespace nivex
