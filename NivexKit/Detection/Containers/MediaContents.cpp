#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/EbmlElements.hpp"

#include <algorithm>

namespace nivex::inspectors {
namespace {

using Candidates = std::vector<FormatID>;
using namespace std::string_view_literals;

constexpr std::size_t headBytes = 64 << 10;

// Identifiers in the header of ASF, in the order of their bytes in the file.
constexpr auto videoStream = "\xC0\xEF\x19\xBC\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"sv;
constexpr auto audioStream = "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"sv;
constexpr auto data = "\x36\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv;
constexpr auto encryption = "\xFB\xB3\x11\x22\x23\xBD\xD2\x11\xB4\xB7\x00\xA0\xC9\x55\xFC\x6E"sv;
constexpr auto extendedEncryption = "\x14\xE6\x8A\x29\x22\x26\x17\x4C\xB9\x35\xDA\xE0\x7E\xE9\x28\x9C"sv;

/// The first packets of the streams in an Ogg file: each begins a page that is marked as the first of its stream.
std::vector<std::string> firstPackets(std::string_view head)
{
    constexpr std::size_t pageHeaderSize = 27;
    constexpr unsigned char firstPage = 2;
    std::vector<std::string> packets;
    std::size_t at = 0;
    while (head.substr(at).starts_with("OggS") && head.size() - at > pageHeaderSize) {
        if ((static_cast<unsigned char>(head[at + 5]) & firstPage) == 0)
            break;
        const auto segments = static_cast<unsigned char>(head[at + 26]);
        std::size_t size = 0;
        for (const char each : head.substr(at + pageHeaderSize, segments))
            size += static_cast<unsigned char>(each);
        const std::size_t content = std::min(at + pageHeaderSize + segments, head.size());
        packets.emplace_back(head.substr(content, size));
        at = std::min(content + size, head.size());
    }
    return packets;
}

/// The beginnings of the objects of an ASF header that lie beyond the bytes read anyway: behind a long index or many
/// pictures. A stream's type follows its identifier.
std::string distantAsfObjects(const ByteSource& source)
{
    constexpr std::uint64_t headerObject = 30;
    constexpr std::uint64_t shortestObject = 24;
    constexpr int maxObjects = 1'024;
    std::string beginnings;
    std::uint64_t offset = headerObject;
    for (int i = 0; i < maxObjects; ++i) {
        const auto bytes = source.read(offset, std::size_t{64});
        ByteReader object{bytes};
        object.skip(16);
        const std::uint64_t size = object.u64();
        if (object.failed() || size < shortestObject || size > source.size() - offset ||
            asText(bytes).starts_with(data))
            break;
        if (offset + bytes.size() > headBytes)
            beginnings += asText(bytes);
        offset += size;
    }
    return beginnings;
}

} // namespace

/// A tag of titles may stand in front of any sound.
Finding taggedSound(const ByteSource& source, const SniffResult&)
{
    constexpr std::size_t tagHeader = 10;
    const auto tag = source.read(0, tagHeader);
    ByteReader reader{tag};
    if (reader.text(3) != "ID3" || tag.size() < tagHeader)
        return {};
    reader.skip(3); // version and flags
    std::uint64_t begin = tagHeader;
    std::uint64_t size = 0;
    for (int i = 0; i < 4; ++i)
        size = size << 7 | (reader.u8() & 0x7FU);
    begin += size;
    const auto sound = source.read(begin, std::size_t{4'096});
    const std::string_view text = asText(sound);
    if (text.starts_with("TTA1") || text.starts_with("TTA2") || text.starts_with("MAC ") || text.starts_with("wvpk"))
        return {.candidates = Candidates{}};
    const SniffResult content = SignatureSniffer::sniff(sound);
    for (const std::string_view other : {"aac", "flac"})
        if (!content.isUnknown() && content.candidates.front() == other)
            return {.candidates = Candidates{other}};
    return {};
}

Finding asf(const ByteSource& source, const SniffResult&)
{
    const std::string head = textAt(source, 0, headBytes) + distantAsfObjects(source);
    const bool isEncrypted = contains(head, encryption) || contains(head, extendedEncryption);
    if (contains(head, videoStream))
        return {.candidates = Candidates{"wmv"}, .isEncrypted = isEncrypted};
    if (contains(head, audioStream))
        return {.candidates = Candidates{"wma", "wmv"}, .isEncrypted = isEncrypted};
    return {.isEncrypted = isEncrypted};
}

Finding ogg(const ByteSource& source, const SniffResult&)
{
    const auto packets = firstPackets(textAt(source, 0, 4'096));
    // A file with pictures, or with several streams, is no plain file of the one codec.
    const bool isOpus = packets.size() == 1 && packets.front().starts_with("OpusHead");
    return {.candidates = isOpus ? Candidates{"opus", "ogg"} : Candidates{"ogg"}};
}

Finding matroska(const ByteSource& source, const SniffResult&)
{
    constexpr std::uint64_t documentType = 0x4282;
    const auto bytes = source.read(0, std::size_t{4'096});
    ByteReader reader{bytes, ByteOrder::big};
    const std::uint64_t size = EbmlElement::read(reader).size.value_or(0);
    const std::size_t end = reader.position() + static_cast<std::size_t>(std::min<std::uint64_t>(size, reader.left()));
    while (reader.position() < end && !reader.failed()) {
        const EbmlElement element = EbmlElement::read(reader);
        const std::string_view value = reader.text(static_cast<std::size_t>(element.size.value_or(0)));
        if (element.id == documentType && !reader.failed())
            return {.candidates = Candidates{value.starts_with("webm") ? "webm" : "mkv"}};
    }
    return {};
}

Finding programStream(const ByteSource& source, const SniffResult&)
{
    const std::string head = textAt(source, 0, headBytes);
    bool hasVideo = false;
    bool hasSound = false;
    bool hasSubtitles = false;
    bool hasNavigation = false;
    constexpr auto startCode = "\0\0\1"sv;
    for (std::size_t at = head.find(startCode); at < head.size() && head.size() - at > 9;
         at = head.find(startCode, at + startCode.size())) {
        const auto stream = static_cast<unsigned char>(head[at + 3]);
        hasVideo = hasVideo || (stream & 0xF0) == 0xE0;
        hasSound = hasSound || (stream & 0xE0) == 0xC0;
        hasNavigation = hasNavigation || stream == 0xBF;
        if (stream == 0xBD) { // private: what it is stands behind a header of variable length
            const std::size_t content = at + 9 + static_cast<unsigned char>(head[at + 8]);
            const bool isSubtitle = content < head.size() && (static_cast<unsigned char>(head[content]) & 0xE0) == 0x20;
            hasSubtitles = hasSubtitles || isSubtitle;
            hasSound = hasSound || !isSubtitle;
        }
    }
    if (hasSubtitles && !hasVideo)
        return {.candidates = Candidates{"sub"}};
    if (hasNavigation)
        return {.candidates = Candidates{"vob", "mpeg"}};
    if (!hasVideo && !hasSound)
        return {.candidates = Candidates{"mpeg", "vob", "sub"}};
    return {.candidates = Candidates{"mpeg", "vob"}};
}

} // namespace nivex::inspectors
