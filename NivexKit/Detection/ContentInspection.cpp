#include "NivexKit/Detection/ContentInspection.hpp"

#include "NivexKit/Detection/SignatureSniffer.hpp"
#include "NivexKit/Detection/TiffStructure.hpp"
#include "NivexKit/Detection/ZipInspector.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

namespace nivex {
namespace {

/// The even or the odd bytes when those between are nearly all zero and these are not: UTF-16 of mostly Latin text.
/// Otherwise all bytes.
std::vector<std::byte> withoutUtf16Zeros(std::span<const std::byte> head)
{
    std::size_t zeros[2] = {0, 0};
    for (std::size_t i = 0; i < head.size(); ++i)
        if (head[i] == std::byte{0})
            ++zeros[i % 2];
    const std::size_t half = head.size() / 2;
    for (std::size_t zeroSide = 0; zeroSide < 2 && half >= 4; ++zeroSide) {
        if (zeros[zeroSide] < half - half / 4 || zeros[1 - zeroSide] != 0)
            continue;
        std::vector<std::byte> letters;
        letters.reserve(half + 1);
        for (std::size_t i = 1 - zeroSide; i < head.size(); i += 2)
            letters.push_back(head[i]);
        return letters;
    }
    return {head.begin(), head.end()};
}

/// Text of an unstated encoding with its non-ASCII bytes replaced by letters; nothing when it is not text.
std::vector<std::byte> asciiPart(std::span<const std::byte> head)
{
    constexpr std::string_view usualControls = "\t\n\f\r\x1A\x1B";
    std::vector<std::byte> text = withoutUtf16Zeros(head);
    std::size_t controls = 0;
    for (std::byte& each : text) {
        const char letter = std::to_integer<char>(each);
        if (letter == '\0')
            return {};
        if (each >= std::byte{0x80})
            each = std::byte{'x'};
        else if (each < std::byte{0x20} && usualControls.find(letter) == std::string_view::npos)
            ++controls;
    }
    constexpr std::size_t oneInTwenty = 20; // as for text whose encoding is known
    if (controls * oneInTwenty >= text.size())
        return {};
    return text;
}

/// Puts `likely` in front of the other candidates.
void moveToFront(std::vector<FormatID>& candidates, std::string_view likely)
{
    const auto found = std::find(candidates.begin(), candidates.end(), likely);
    if (found != candidates.end())
        std::rotate(candidates.begin(), found, found + 1);
}

/// The likeliest of the formats that share the TIFF structure, by the tags of the first directory; empty for TIFF.
std::string_view tiffRelative(HeaderBytes& bytes)
{
    constexpr std::uint16_t makeTag = 271;
    const auto tiff = TiffStructure::at(bytes, 0);
    const auto directory = tiff ? tiff->directory(tiff->firstDirectory()) : std::nullopt;
    if (!directory)
        return {};
    if (directory->field(tifftag::dngVersion))
        return "dng";
    if (directory->field(tifftag::geoKeys))
        return "geotiff";
    // Camera raw keeps its pictures in directories below the first, which a developed TIFF has no use for.
    const TiffField* make = directory->field(makeTag);
    if (!make || !directory->field(tifftag::subDirectories))
        return {};
    if (bytes.hasText(make->position, "NIKON"))
        return "nef";
    if (bytes.hasText(make->position, "SONY"))
        return "arw";
    return {};
}

/// The formats that a ZIP archive can be, by its directory or else by what its beginning shows.
std::vector<FormatID> zipFlavours(const std::filesystem::path& url, HeaderBytes& bytes)
{
    constexpr std::size_t beginning = 4096;
    const auto names = ZipInspector::entryNames(url);
    return names ? ZipInspector::classify(*names) : ZipInspector::classify(bytes.slice(0, beginning));
}

} // namespace

SniffResult sniffedContent(std::span<const std::byte> head)
{
    SniffResult content = SignatureSniffer::sniff(head);
    if (!content.isUnknown() || content.isText)
        return content;
    const std::vector<std::byte> text = asciiPart(head);
    if (text.empty())
        return content;
    SniffResult asText = SignatureSniffer::sniff(text);
    if (asText.isText)
        return asText;
    content.isText = true;
    return content;
}

SniffResult inspectedContainer(SniffResult content, const std::filesystem::path& url, HeaderBytes& bytes)
{
    if (content.container == ContainerKind::zip)
        content.candidates = zipFlavours(url, bytes);
    if (content.container == ContainerKind::tiff && content.candidates.size() > 1)
        moveToFront(content.candidates, tiffRelative(bytes));
    return content;
}

} // namespace nivex
