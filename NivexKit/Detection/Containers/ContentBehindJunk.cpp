#include "NivexKit/Detection/Containers/ContentBehindJunk.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// A sound stream behind the silence that recorders and splitters leave: players look for the first frame.
std::optional<SniffResult> soundBehindZeros(const ByteSource& source)
{
    constexpr std::size_t mostZeros = 64 << 10;
    constexpr std::size_t headLength = 4'096;
    const auto bytes = source.read(0, mostZeros + headLength);
    const auto isNoZero = [](std::byte each) { return each != std::byte{0}; };
    const auto begin = std::find_if(bytes.begin(), bytes.end(), isNoZero);
    if (begin == bytes.begin() || begin == bytes.end())
        return std::nullopt;
    SniffResult sound = SignatureSniffer::sniff(std::span{begin, bytes.end()}.first(
        std::min<std::size_t>(headLength, static_cast<std::size_t>(bytes.end() - begin))));
    const bool isStream =
        !sound.isUnknown() && (sound.candidates.front() == "mp3" || sound.candidates.front() == "aac");
    return isStream ? std::optional{std::move(sound)} : std::nullopt;
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
    auto sound = soundBehindZeros(source);
    return sound ? sound : archiveBehindAnything(source);
}

} // namespace nivex
